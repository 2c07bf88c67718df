#pragma once

#include "contacts/ContactNames.h"
#include "messages/MessagesDB.h"
#include "pairing/QR.h"
#include "server/SyncServer.h"

#include <QTime>
#include <QUrl>

#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace korvane {

/// What the application reaches the world through. The defaults are the real things; tests give it
/// their own database and contacts, and do not wait for half a minute.
struct AppEnvironment {
    std::string database = MessagesDB::path();

    /// Called off the main thread.
    std::function<ContactNames()> loadNames = [] { return ContactNames::load(); };

    std::chrono::milliseconds autoSyncInterval = std::chrono::seconds(30);
    std::function<QTime()> timeOfDay = QTime::currentTime;
    std::function<std::optional<std::string>()> localAddress = QR::localIPv4;
    ServerOptions server;

    /// Lets the user pick a folder, beginning in the one given; nothing where he cancels.
    std::function<std::optional<std::filesystem::path>(const std::filesystem::path&)> pickFolder;

    /// Has the system open a URL; false if it has nothing to open it with.
    std::function<bool(const QUrl&)> openUrl;
};

} // namespace korvane
