#pragma once

#include "state/AppEnvironment.h"
#include "state/AppState.h"
#include "state/ExportJobs.h"
#include "state/ExportNotices.h"
#include "state/PhoneTransfer.h"
#include "state/Settings.h"
#include "state/Worker.h"

#include <QTimer>

#include <optional>
#include <string>
#include <utility>

namespace korvane {

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
