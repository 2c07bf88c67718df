#include "OfferedChat.h"

#include "text/Base64Url.h"

#include <algorithm>

namespace korvane {

Recipient::Recipient() : m_before(std::filesystem::current_path())
{
    std::filesystem::create_directory(folder());
    std::filesystem::current_path(folder());
}

Recipient::~Recipient()
{
    std::filesystem::current_path(m_before);
}

Outcome Recipient::receive(const std::string& link, const std::vector<std::string>& arguments) const
{
    std::vector<std::string> words{"receive"};
    words.insert(words.end(), arguments.begin(), arguments.end());
    return m_terminal.run(words, link + '\n');
}

OfferedChat::OfferedChat(int messages) : chat(messages), link(linkTo(running.port()))
{
    chat.offer(running.server());
    const auto issued = running.server().issueTransfer(chat.fileName()).value();
    link.ticket = issued.ticket;
    link.key = issued.key;
}

TransferLink linkTo(std::uint16_t port)
{
    return {"127.0.0.1", port, toBase64Url(randomBytes(32).value()), SymmetricKey::make().value()};
}

SymmetricKey otherThan(const SymmetricKey& key)
{
    QByteArray bytes = key.bytes();
    bytes.back() = static_cast<char>(bytes.back() ^ 1);
    return SymmetricKey::fromBytes(bytes).value();
}

bool tellsSecrets(const std::string& printed, const TransferLink& link)
{
    const QByteArray key = link.key.bytes();
    const QByteArray forms[] = {key, key.toHex(), key.toHex().toUpper(), key.toBase64().chopped(1),
        QByteArray::fromStdString(toBase64Url(key)), QByteArray::fromStdString(link.ticket)};
    return std::any_of(std::begin(forms), std::end(forms), [&printed](const QByteArray& form) {
        return printed.find(form.toStdString()) != printed.npos;
    });
}

} // namespace korvane
