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

/// The contacts received so far. Shared by the waiting thread and the thread on which the framework
/// calls back, either of which may outlive the other. All members are guarded by `m_mutex`.
class Answer {
public:
    /// True while the caller of await() still waits for contacts.
    bool isAwaited();

    /// Adds one contact. False if nobody waits any longer, so the enumeration can stop.
    bool add(Contact contact);

    /// Marks the end of the contacts and wakes await().
    void complete();

    /// Waits for complete(), or until no contact has arrived for `timeout`. Returns the contacts
    /// received until then. Call it once.
    std::vector<Contact> await(std::chrono::milliseconds timeout);

private:
    std::mutex m_mutex;
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

std::vector<Contact> Answer::await(std::chrono::milliseconds timeout)
{
    std::unique_lock lock(m_mutex);
    while (!m_isComplete && Clock::now() < m_lastWord + timeout) {
        const auto until = m_lastWord + timeout; // a copy: add() changes m_lastWord
        m_completed.wait_until(lock, until);
    }
    m_isAwaited = false;
    return std::move(m_contacts);
}

/// Leaves a new object to the current autorelease pool. Under automatic reference counting (ARC)
/// the compiler releases it.
template <typename Object>
Object* pooled(Object* object)
{
#if __has_feature(objc_arc)
    return object;
#else
    return [object autorelease];
#endif
}

/// The text as valid UTF-8. The conversion is lossy: it replaces an unpaired surrogate.
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

/// A request for all contacts, in the store's order, with the properties that naming a chat needs.
CNContactFetchRequest* everyContact()
{
    NSArray* keys = @[
        CNContactGivenNameKey, CNContactFamilyNameKey, CNContactOrganizationNameKey,
        CNContactPhoneNumbersKey, CNContactEmailAddressesKey
    ];
    return pooled([[CNContactFetchRequest alloc] initWithKeysToFetch:keys]);
}

/// Adds all contacts to `answer`. On an error or exception, the contacts added until then remain.
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

/// Requests access to the store. If it is granted while the caller still waits, adds the contacts.
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

ContactsFrameworkSource::ContactsFrameworkSource(std::chrono::milliseconds timeout)
    : m_timeout(timeout)
{
}

/// The thread is detached, not joined: a framework call that never returns blocks nothing else.
void ContactsFrameworkSource::forEachContact(const Visitor& visit) const
{
    const auto answer = std::make_shared<Answer>();
    std::thread([answer] {
        @autoreleasepool {
            ask(answer);
        }
    }).detach();
    for (const Contact& contact : answer->await(m_timeout))
        visit(contact);
}

} // namespace korvane
