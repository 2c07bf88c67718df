#pragma once

#include "state/AppEnvironment.h"
#include "state/AppState.h"
#include "state/ExportJobs.h"
#include "state/ExportNotices.h"
#include "state/PhoneTransfer.h"
#include "state/Settings.h"
#include "state/Worker.h"
#include "storage/LastRead.h"

#include <QTimer>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace korvane {

/// The outcome of a reload of the chats.
struct ChatReading {
    bool isReadable = false; ///< the database could be read
    std::optional<std::vector<ChatInfo>> chats; ///< absent also if they are as before
};

/// The objects that AppState works with. Only AppState's own source files include this header.
struct AppState::Services {
    explicit Services(AppEnvironment given)
        : environment(std::move(given))
        , transfer(environment.support, environment.server, environment.localAddress)
        , exports(environment.support, environment.database)
    {
    }

    const AppEnvironment environment;
    ContactNames names;
    std::optional<std::string> silent = ""; ///< what has not answered; absent after a complete read
    PhoneTransfer transfer;
    Settings settings;
    ExportJobs exports;
    ExportNotices notices;

    /// Of the list of chats. Used by the jobs alone. What they read reaches AppState before the
    /// outcome of the next job, so the list is as before if nothing was read.
    const std::shared_ptr<LastRead> lastRead = std::make_shared<LastRead>();

    QTimer autoSyncTimer;
    Worker worker; ///< declared last, so that no job is running when the others are destroyed
};

/// Calls `job` on the worker thread, and later `then` with its result on the main thread, unless
/// this object has been destroyed by then. `job` must own all data that it uses and must not throw.
template <typename Job, typename Then>
void AppState::runInBackground(Job job, Then then)
{
    m_services->worker.run([job = std::move(job), then = std::move(then)]() -> Worker::Delivery {
        return [then, result = job()]() mutable { then(std::move(result)); };
    });
}

/// Assigns `value` and emits `changed`, unless the field has that value already.
template <typename T>
void AppState::update(T& field, T value, void (AppState::*changed)())
{
    if (field == value)
        return;
    field = std::move(value);
    emit(this->*changed)();
}

} // namespace korvane
