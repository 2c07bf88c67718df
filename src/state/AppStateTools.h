#pragma once

#include "state/AppState.h"

#include <utility>

/// The two templates behind AppState's operations, for its own sources only.
namespace korvane {

/// `job` runs on the worker thread, owns all that it needs and throws nothing; `then` gets what it
/// returns, later on the main thread, unless this object is gone by then.
template <typename Job, typename Then>
void AppState::runInBackground(Job job, Then then)
{
    m_worker.run([job = std::move(job), then = std::move(then)]() -> Worker::Delivery {
        return [then, result = job()]() mutable { then(std::move(result)); };
    });
}

/// Sets a field and tells about it where it is another value.
template <typename T>
void AppState::update(T& field, T value, void (AppState::*changed)())
{
    if (field == value)
        return;
    field = std::move(value);
    emit(this->*changed)();
}

} // namespace korvane
