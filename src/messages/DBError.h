#pragma once

#include <exception>
#include <string>
#include <utility>

namespace korvane {

/// A failure of the database reader: one text that is shown to the user as it stands.
struct DBError : std::exception {
    explicit DBError(std::string text) : message(std::move(text)) { }

    const std::string& errorDescription() const { return message; }
    const char* what() const noexcept override { return message.c_str(); }

    std::string message;
};

} // namespace korvane
