#pragma once

#include "messages/Sqlite.h"

#include <QTemporaryDir>

#include <concepts>
#include <cstdint>
#include <optional>
#include <string>

namespace korvane {

/// A small Messages database that tests fill row by row. The destructor deletes its folder.
class TestDatabase {
public:
    /// The columns of a message row. The defaults make a plain text received from handle 1.
    struct Message {
        std::int64_t rowID = 0; ///< 0: the highest so far plus 1
        std::optional<std::string> guid; ///< absent: "M" and the row id
        std::optional<std::string> text = "hello";
        std::optional<std::string> body; ///< attributedBody
        std::int64_t handle = 1;
        std::int64_t date = 0; ///< as stored; 0: 700000000 plus the row id
        bool fromMe = false;
        bool hasAttachments = false;
        std::optional<std::int64_t> associatedType = 0;
        std::optional<std::string> associatedGuid;
        std::optional<std::string> threadGuid;
        std::int64_t itemType = 0;
    };

    /// Whether the message table has the columns of current systems or of the oldest ones.
    enum class Schema { Current, Old };

    explicit TestDatabase(Schema schema = Schema::Current);

    std::string path() const;

    /// The temporary folder of the database file. Tests may put other files there.
    std::string folder() const;

    /// The connection, for what the functions below do not cover.
    Sqlite& sql() { return m_db; }

    void addHandle(std::int64_t id, const std::string& handle);
    void addChat(std::int64_t id, const std::string& guid, const std::string& displayName = "",
        const std::string& identifier = "", int style = 45);
    void addMember(std::int64_t chat, std::int64_t handle);

    /// Adds the message to the chat, or to no chat if `chat` is 0. Returns the row id.
    std::int64_t addMessage(std::int64_t chat, const Message& message);
    template <std::convertible_to<std::string> Text> // a template, so that {…} is a Message
    std::int64_t addMessage(std::int64_t chat, const Text& text)
    {
        return addMessage(chat, Message{.text = text});
    }

    /// Adds an attachment to a message. An absent type is stored as NULL.
    void addAttachment(std::int64_t message, const std::optional<std::string>& mimeType);

private:
    const bool m_current;
    QTemporaryDir m_folder;
    Sqlite m_db;
    std::int64_t m_lastRowID = 0;
    std::int64_t m_lastAttachment = 0;
};

} // namespace korvane
