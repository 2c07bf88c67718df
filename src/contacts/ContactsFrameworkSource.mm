#include "contacts/ContactsFrameworkSource.h"

#import <Contacts/Contacts.h>
#import <Foundation/Foundation.h>

#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

namespace korvane {

namespace {

using Clock = std::chrono::steady_clock;

/// What the store has said so far. Shared by the thread that waits for it and by whatever the
/// framework calls back on, for either may outlive the other.
class Answer {
public:
    /// True as long as somebody waits for more.
    bool isAwaited();

    /// Takes one contact; false where nobody waits any longer, so that there need not be more.
    bool add(Contact contact);

    /// No more is to come.
    void complete();

    /// All contacts, or those that came until the store was silent for so long.
    std::vector<Contact> await(std::chrono::milliseconds patience);

private:
    std::mutex m_mutex; // protects all below
    std::condition_variable m_completed;
    std::vector<Contact> m_contacts;
    Clock::time_point m_lastWord = Clock::now();
    bool m_isComplete = false;
    bool m_isAwaited = true;
};

bool Answer::isAwaited()
{
    const std::lock_guard lock(m_mutex);
    return m_isAwaited;
}

bool Answer::add(Contact contact)
{
    const std::lock_guard lock(m_mutex);
    if (!m_isAwaited)
        return false;
    m_contacts.push_back(std::move(contact));
    m_lastWord = Clock::now();
    return true;
}

void Answer::complete()
{
    const std::lock_guard lock(m_mutex);
    m_isComplete = true;
    m_completed.notify_all();
}

std::vector<Contact> Answer::await(std::chrono::milliseconds patience)
{
    std::unique_lock lock(m_mutex);
    while (!m_isComplete && Clock::now() < m_lastWord + patience) {
        const auto until = m_lastWord + patience; // a copy: it changes during the wait
        m_completed.wait_until(lock, until);
    }
    m_isAwaited = false;
    return std::move(m_contacts);
}

/// Leaves a new object to the pool that is open. Automatic reference counting needs no telling.
template <typename Object>
Object* pooled(Object* object)
{
#if __has_feature(objc_arc)
    return object;
#else
    return [object autorelease];
#endif
}

/// The text as UTF-8, whatever is in it: a half of a character becomes a mark of replacement.
std::string utf8(NSString* text)
{
    NSData* bytes = [text dataUsingEncoding:NSUTF8StringEncoding allowLossyConversion:YES];
    if (bytes.length == 0)
        return {};
    return {static_cast<const char*>(bytes.bytes), bytes.length};
}

Contact contactOf(CNContact* person)
{
    Contact contact;
    contact.givenName = utf8(person.givenName);
    contact.familyName = utf8(person.familyName);
    contact.organizationName = utf8(person.organizationName);
    for (CNLabeledValue<CNPhoneNumber*>* number in person.phoneNumbers)
        contact.phoneNumbers.push_back(utf8(number.value.stringValue));
    for (CNLabeledValue<NSString*>* address in person.emailAddresses)
        contact.emailAddresses.push_back(utf8(address.value));
    return contact;
}

/// Everything that naming a chat needs, in the store's own order.
CNContactFetchRequest* everyContact()
{
    NSArray* keys = @[
        CNContactGivenNameKey, CNContactFamilyNameKey, CNContactOrganizationNameKey,
        CNContactPhoneNumbersKey, CNContactEmailAddressesKey
    ];
    return pooled([[CNContactFetchRequest alloc] initWithKeysToFetch:keys]);
}

/// Hands over one contact after the other; what comes before an error or an exception counts.
void enumerate(CNContactStore* store, std::shared_ptr<Answer> answer)
{
    @try {
        [store enumerateContactsWithFetchRequest:everyContact()
                                           error:nullptr
                                      usingBlock:^(CNContact* person, BOOL* stop) {
                                          @autoreleasepool {
                                              *stop = !answer->add(contactOf(person));
                                          }
                                      }];
    } @catch (id) {
    }
}

/// Asks the store for access and, if it is given while somebody waits for it, for the contacts.
void ask(std::shared_ptr<Answer> answer)
{
    @try {
        CNContactStore* store = pooled([[CNContactStore alloc] init]);
        [store requestAccessForEntityType:CNEntityTypeContacts
                        completionHandler:^(BOOL isGranted, NSError* error) {
                            @autoreleasepool {
                                if (isGranted && !error && answer->isAwaited())
                                    enumerate(store, answer);
                                answer->complete();
                            }
                        }];
    } @catch (id) {
        answer->complete();
    }
}

} // namespace

ContactsFrameworkSource::ContactsFrameworkSource(std::chrono::milliseconds patience)
    : m_patience(patience)
{
}

/// The thread is let go: a call that never comes back holds up nothing else.
void ContactsFrameworkSource::forEachContact(const Visitor& visit) const
{
    const auto answer = std::make_shared<Answer>();
    std::thread([answer] {
        @autoreleasepool {
            ask(answer);
        }
    }).detach();
    for (const Contact& contact : answer->await(m_patience))
        visit(contact);
}

} // namespace korvane
