#pragma once

#include <exception>
#include <string>
#include <utility>

namespace korvane {

/// A failure of the database reader. `message` is shown to the user unchanged.
struct DBError : std::exception {
    explicit DBError(std::string text) : message(std::move(text)) { }

    /// Required by the interface; only tests call it.
    const std::string& errorDescription() const { return message; }
    const char* what() const noexcept override { return message.c_str(); }

    std::string message;
};

} // namespace korvane
