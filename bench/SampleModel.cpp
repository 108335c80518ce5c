#include "bench/SampleModel.h"

#include "core/Connection.h"
#include "core/UserDefaults.h"

#include <QEventLoop>

#include <nlohmann/json.hpp>

#include <stdexcept>

namespace driftwell::bench {

namespace {

std::map<std::string, std::vector<std::string>> answers(const std::vector<std::string>& sites) {
    return {{"/api/me", {R"({"id":"1","name":"Maya","email":"m","avatar":"","handle":"m"})"}},
            {"/api/sites", sites},
            {"/api/stats", {R"({"sites":1,"libs":0,"docs":0,"kvKeys":0,"deploysLast7d":0,"wsConnections":0})"}},
            {"/api/libs", {R"({"libs":[]})"}}};
}

Task<> refreshThenQuit(AppState& state, QEventLoop& loop) {
    co_await state.connection().refresh();
    loop.quit();
}

} // namespace

SampleModel::SampleModel(const std::vector<std::string>& sites)
    : m_server(answers(sites)),
      m_state(std::make_unique<PlatformClient>(Bundle(), ConfigStore(m_config)), m_desktop,
              openUserDefaults(m_config)) {
    ConfigStore(m_config).saveConfig({{"host", m_server.origin()}});
    m_state.connection().reloadConfig();
}

void SampleModel::refresh() {
    QEventLoop loop;
    detach(refreshThenQuit(m_state, loop));
    loop.exec();
    if (m_state.connection().status() != Connection::Status::connected()) {
        throw std::runtime_error("the poll failed");
    }
}

} // namespace driftwell::bench
