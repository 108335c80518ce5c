#include "ui/controls/ListChange.h"

#include "tests/deploy/Seed.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <limits>
#include <random>

namespace driftwell {

void PrintTo(const ListChange::Removal& removal, std::ostream* stream) {
    *stream << "Removal(" << removal.first << ", " << removal.count << ")";
}

void PrintTo(const ListChange::Move& move, std::ostream* stream) {
    *stream << "Move(" << move.from << " to " << move.to << ")";
}

void PrintTo(const ListChange::Insertion& insertion, std::ostream* stream) {
    *stream << "Insertion(" << insertion.first << ", " << insertion.count << ")";
}

} // namespace driftwell

namespace driftwell::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Names = QList<QString>;
using Removal = ListChange::Removal;
using Move = ListChange::Move;
using Insertion = ListChange::Insertion;

constexpr std::size_t noLimit = std::numeric_limits<std::size_t>::max();

/// One name for each letter.
Names letters(const char* text) {
    Names names;
    for (const QChar letter : QString::fromLatin1(text)) {
        names.append(letter);
    }
    return names;
}

ListChange between(const char* before, const char* after) {
    return ListChange::between(letters(before), letters(after), noLimit).value();
}

Names applied(Names list, const ListChange& change, const Names& after) {
    for (const auto& [first, count] : change.removals) {
        list.remove(first, count);
    }
    for (const auto& [from, to] : change.moves) {
        list.move(from, to);
    }
    for (const auto& [first, count] : change.insertions) {
        for (int i = 0; i < count; ++i) {
            list.insert(first + i, after[first + i]);
        }
    }
    return list;
}

TEST(ListChangeTest, AnUnchangedListNeedsNoStep) {
    const ListChange change = between("abc", "abc");
    EXPECT_THAT(change.removals, IsEmpty());
    EXPECT_THAT(change.moves, IsEmpty());
    EXPECT_THAT(change.insertions, IsEmpty());
}

TEST(ListChangeTest, NeighboursGoInOneStep) {
    EXPECT_THAT(between("abcdef", "aef").removals, ElementsAre(Removal{1, 3}));
}

TEST(ListChangeTest, WhatGoesGoesFromTheEndOn) {
    EXPECT_THAT(between("abcdef", "bd").removals, ElementsAre(Removal{4, 2}, Removal{2, 1}, Removal{0, 1}));
}

TEST(ListChangeTest, NeighboursComeInOneStep) {
    EXPECT_THAT(between("af", "abcdf").insertions, ElementsAre(Insertion{1, 3}));
}

TEST(ListChangeTest, WhatComesComesFromTheBeginningOn) {
    EXPECT_THAT(between("bd", "abcde").insertions, ElementsAre(Insertion{0, 1}, Insertion{2, 1}, Insertion{4, 1}));
}

TEST(ListChangeTest, ANameThatComesToTheFrontIsOneMove) {
    const ListChange change = between("abcd", "dabc");
    EXPECT_THAT(change.removals, IsEmpty());
    EXPECT_THAT(change.moves, ElementsAre(Move{3, 0}));
    EXPECT_THAT(change.insertions, IsEmpty());
}

TEST(ListChangeTest, RemovalsMovesAndInsertionsTogetherGiveTheNewList) {
    const ListChange change = between("abcd", "xdcy");
    EXPECT_THAT(change.removals, ElementsAre(Removal{0, 2}));
    EXPECT_THAT(change.moves, ElementsAre(Move{1, 0}));
    EXPECT_THAT(change.insertions, ElementsAre(Insertion{0, 1}, Insertion{3, 1}));
    EXPECT_EQ(applied(letters("abcd"), change, letters("xdcy")), letters("xdcy"));
}

TEST(ListChangeTest, AnEmptyListIsFilledAndEmptiedInOneStep) {
    EXPECT_THAT(between("", "abc").insertions, ElementsAre(Insertion{0, 3}));
    EXPECT_THAT(between("abc", "").removals, ElementsAre(Removal{0, 3}));
}

TEST(ListChangeTest, ANameThatStandsTwiceInAListGivesNoChange) {
    EXPECT_FALSE(ListChange::between(letters("aba"), letters("ab"), noLimit));
    EXPECT_FALSE(ListChange::between(letters("ab"), letters("abb"), noLimit));
}

TEST(ListChangeTest, ExactlyTheLimitIsAllowed) {
    EXPECT_TRUE(ListChange::between(letters("abcd"), letters("xdcy"), 4));
    EXPECT_FALSE(ListChange::between(letters("abcd"), letters("xdcy"), 3));
    EXPECT_TRUE(ListChange::between(letters("abc"), letters("abc"), 0));
    EXPECT_FALSE(ListChange::between(letters("abc"), letters("ab"), 0));
    EXPECT_FALSE(ListChange::between(letters("abc"), letters("cab"), 0));
}

TEST(ListChangeTest, RandomListsAreTurnedIntoOneAnother) {
    std::mt19937_64 random(chooseSeed("ListChangeTest"));
    Names all = letters("abcdefghijklmnopqrst");
    const auto some = [&] {
        std::shuffle(all.begin(), all.end(), random);
        return all.mid(0, static_cast<qsizetype>(below(random, static_cast<std::size_t>(all.size()) + 1)));
    };
    for (int round = 0; round < 2000; ++round) {
        const Names before = some();
        const Names after = some();
        const std::optional<ListChange> change = ListChange::between(before, after, noLimit);
        ASSERT_TRUE(change);
        ASSERT_EQ(applied(before, *change, after), after)
            << before.join(u' ').toStdString() << " to " << after.join(u' ').toStdString();
    }
}

} // namespace
} // namespace driftwell::tests
