#pragma once

#include "messages/Sqlite.h"

#include <QTemporaryDir>

#include <concepts>
#include <cstdint>
#include <optional>
#include <string>

namespace korvane {

/// A small Messages database in a folder of its own, which goes with it. Tests fill it row by row.
class TestDatabase {
public:
    /// What a message row is made of; the defaults are those of a plain text from the other side.
    struct Message {
        std::int64_t rowID = 0; ///< 0: the next one
        std::optional<std::string> guid; ///< absent: "M" and the row id
        std::optional<std::string> text = "hello";
        std::optional<std::string> body; ///< attributedBody
        std::int64_t handle = 1;
        std::int64_t date = 0; ///< as stored; 0: row id seconds after 2001 + 700000000
        bool fromMe = false;
        bool hasAttachments = false;
        std::optional<std::int64_t> associatedType = 0;
        std::optional<std::string> associatedGuid;
        std::optional<std::string> threadGuid;
        std::int64_t itemType = 0;
    };

    /// With the columns of a current system, or with only those that the oldest ones have.
    enum class Schema { Current, Old };

    explicit TestDatabase(Schema schema = Schema::Current);

    std::string path() const;

    /// The folder around it, for whatever else a test puts on disk.
    std::string folder() const;

    /// For whatever the calls below do not cover.
    Sqlite& sql() { return m_db; }

    void addHandle(std::int64_t id, const std::string& handle);
    void addChat(std::int64_t id, const std::string& guid, const std::string& displayName = "",
        const std::string& identifier = "", int style = 45);
    void addMember(std::int64_t chat, std::int64_t handle);

    /// Adds the message to the chat (none for chat 0) and returns its row id.
    std::int64_t addMessage(std::int64_t chat, const Message& message);
    template <std::convertible_to<std::string> Text> // no braces: they mean a Message
    std::int64_t addMessage(std::int64_t chat, const Text& text)
    {
        return addMessage(chat, Message{.text = text});
    }

    /// Adds an attachment of the given type to a message; absent is NULL.
    void addAttachment(std::int64_t message, const std::optional<std::string>& mimeType);

private:
    const bool m_current;
    QTemporaryDir m_folder;
    Sqlite m_db;
    std::int64_t m_lastRowID = 0;
    std::int64_t m_lastAttachment = 0;
};

} // namespace korvane
