#pragma once

#include "contacts/ContactNames.h"
#include "messages/MessagesDB.h"
#include "pairing/LocalAddress.h"
#include "server/ServerOptions.h"
#include "storage/Paths.h"

#include <QTime>
#include <QUrl>

#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace korvane {

/// Everything outside the process that AppState depends on. The defaults are for real use, except
/// that the two callbacks at the end are empty: then what they are for does nothing. Tests pass
/// their own database and contacts, and a shorter interval. AppState calls the callbacks on the
/// main thread, except `loadNames` and `now`, and `server.now`, which the server also calls on its
/// own thread.
struct AppEnvironment {
    SupportFolder support; ///< has no default: main() determines it
    std::string database = MessagesDB::path();

    /// Called on the worker thread, and so are the functions of the prompt.
    std::function<LoadedNames(const AccessPrompt&)> loadNames
        = [](const AccessPrompt& prompt) { return ContactNames::load(prompt); };

    std::chrono::milliseconds autoSyncInterval = std::chrono::seconds(30);
    std::function<QTime()> timeOfDay = QTime::currentTime;

    /// The time in terms of which the system stamps files. Called on the worker thread.
    std::function<std::chrono::system_clock::time_point()> now = std::chrono::system_clock::now;
    std::function<std::optional<std::string>()> localAddress = QR::localIPv4;
    ServerOptions server;

    /// Lets the user pick a folder, starting in the given one. Returns nothing if the user cancels.
    std::function<std::optional<std::filesystem::path>(const std::filesystem::path&)> pickFolder;

    /// Opens a URL with the system's handler. Returns false if there is none.
    std::function<bool(const QUrl&)> openUrl;
};

} // namespace korvane
