#pragma once

#include "state/AppState.h"

#include <utility>

/// AppState's private member templates. Only AppState's own source files include this.
namespace korvane {

/// Calls `job` on the worker thread, and later `then` with its result on the main thread, unless
/// this object has been destroyed by then. `job` must own all data that it uses and must not throw.
template <typename Job, typename Then>
void AppState::runInBackground(Job job, Then then)
{
    m_worker.run([job = std::move(job), then = std::move(then)]() -> Worker::Delivery {
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
