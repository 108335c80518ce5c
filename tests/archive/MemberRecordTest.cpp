#include "archive/MemberRecord.h"

#include "archive/ArchiveError.h"
#include "support/SystemError.h"
#include "support/UniqueFd.h"
#include "tests/support/TestFolder.h"

#include <fcntl.h>
#include <gmock/gmock.h>

#include <limits>
#include <system_error>
#include <vector>

namespace driftwell {
namespace {

std::string recordOf(const std::vector<ArchiveMember>& members, std::uint64_t size) {
    const tests::TestFolder folder;
    const UniqueFd file(checked(::open((folder / "record").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600), "open"));
    MemberRecordWriter writer(file.get());
    for (const ArchiveMember& member : members) {
        writer.add(member);
    }
    writer.finish(size);
    return folder.read("record");
}

std::uint64_t readRecord(const std::string& record, std::vector<ArchiveMember>& members, std::size_t piece = 100) {
    MemberRecordReader reader([&members](const ArchiveMember& member) { members.push_back(member); });
    for (std::size_t at = 0; at < record.size(); at += piece) {
        reader.read(std::string_view(record).substr(at, piece));
    }
    return reader.finish();
}

TEST(MemberRecordTest, ComesBackAsItWasWrittenInPiecesOfAnySize) {
    std::vector<ArchiveMember> members{
        {"a", '0', 0, 0},
        {"end 5", '5', 7, -3},
        {"caf\xE9\n \r", '\xFF', std::numeric_limits<std::uint64_t>::max(), std::numeric_limits<std::int64_t>::min()},
        {"", '\0', 1, std::numeric_limits<std::int64_t>::max()},
    };
    for (int i = 0; i < 5'000; ++i) {
        members.push_back({"a longer name in a folder/" + std::to_string(i), '0', 5, 1'700'000'000});
    }
    const std::string record = recordOf(members, 4711);
    for (const std::size_t piece : {std::size_t{1}, std::size_t{3}, std::size_t{64 * 1024}, record.size()}) {
        std::vector<ArchiveMember> read;
        EXPECT_EQ(readRecord(record, read, piece), 4711U);
        EXPECT_EQ(read, members) << piece;
    }
}

TEST(MemberRecordTest, IsRefusedWhereItIsNotWhole) {
    const std::string record = recordOf({{"a", '0', 1, 2}, {"b", '0', 1, 2}}, 4711);
    std::vector<ArchiveMember> ignored;
    for (std::size_t size = 0; size < record.size(); ++size) {
        EXPECT_THROW(static_cast<void>(readRecord(record.substr(0, size), ignored)), ArchiveError) << size;
    }
    EXPECT_THROW(static_cast<void>(readRecord(record + "more", ignored)), ArchiveError);
    EXPECT_THROW(static_cast<void>(readRecord(record + record, ignored)), ArchiveError);
    EXPECT_THROW(static_cast<void>(readRecord(std::string("48 x 2 a\0end 5\0", 15), ignored)), ArchiveError);
    EXPECT_THROW(static_cast<void>(readRecord(std::string("48\0end 5\0", 9), ignored)), ArchiveError);
}

TEST(MemberRecordTest, FailsWhereItCannotBeWritten) {
    const UniqueFd full(checked(::open("/dev/full", O_WRONLY | O_CLOEXEC), "open"));
    MemberRecordWriter writer(full.get());
    writer.add({"a", '0', 1, 2});
    EXPECT_THROW(writer.finish(1), std::system_error);
}

} // namespace
} // namespace driftwell
