#include "contacts/ContactsFrameworkSource.h"

#import <Contacts/Contacts.h>
#import <Foundation/Foundation.h>

#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
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

    /// Between these two the system asks the user, and await() has no time limit.
    void promptOpens();
    void promptCloses();

    /// Marks the end of the contacts and wakes await().
    void complete(ContactOutcome outcome);

    /// Waits for complete(), or until no contact has arrived for `timeout`, or until `prompt`
    /// cancels the wait for the user. The outcome is Unanswered in the last two cases. Call it
    /// once.
    ContactOutcome await(std::chrono::milliseconds timeout, const AccessPrompt& prompt);

    /// The contacts received by await().
    std::vector<Contact> takeContacts();

private:
    using Lock = std::unique_lock<std::mutex>;

    void awaitUser(Lock& lock, const AccessPrompt& prompt);

    std::mutex m_mutex;
    std::condition_variable m_changed; ///< m_isPrompting or m_outcome
    std::vector<Contact> m_contacts;
    Clock::time_point m_lastWord = Clock::now();
    std::optional<ContactOutcome> m_outcome; ///< absent until complete()
    bool m_isPrompting = false;
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

void Answer::promptOpens()
{
    const std::lock_guard lock(m_mutex);
    m_isPrompting = true;
    m_changed.notify_all();
}

void Answer::promptCloses()
{
    const std::lock_guard lock(m_mutex);
    m_lastWord = m_isPrompting ? Clock::now() : m_lastWord;
    m_isPrompting = false;
    m_changed.notify_all();
}

void Answer::complete(ContactOutcome outcome)
{
    const std::lock_guard lock(m_mutex);
    m_outcome = outcome;
    m_changed.notify_all();
}

ContactOutcome Answer::await(std::chrono::milliseconds timeout, const AccessPrompt& prompt)
{
    Lock lock(m_mutex);
    while (!m_outcome && m_isAwaited) {
        const auto until = m_lastWord + timeout; // a copy: add() changes m_lastWord
        if (m_isPrompting)
            awaitUser(lock, prompt);
        else if (Clock::now() < until)
            m_changed.wait_until(lock, until);
        else
            m_isAwaited = false;
    }
    m_isAwaited = false;
    return m_outcome.value_or(ContactOutcome::Unanswered);
}

/// Waits until the user has answered or `prompt` cancels. Calls the functions of `prompt` without
/// the lock, because they may take time.
void Answer::awaitUser(Lock& lock, const AccessPrompt& prompt)
{
    constexpr std::chrono::milliseconds interval{100}; // between calls of isCancelled
    lock.unlock();
    if (prompt.onOpen)
        prompt.onOpen();
    bool isCancelled = prompt.isCancelled && prompt.isCancelled();
    lock.lock();
    while (m_isPrompting && !m_outcome && !isCancelled) {
        m_changed.wait_for(lock, interval);
        lock.unlock();
        isCancelled = prompt.isCancelled && prompt.isCancelled();
        lock.lock();
    }
    m_isAwaited = !isCancelled;
}

std::vector<Contact> Answer::takeContacts()
{
    const std::lock_guard lock(m_mutex);
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
ContactOutcome enumerate(CNContactStore* store, std::shared_ptr<Answer> answer)
{
    @try {
        const BOOL isWhole =
            [store enumerateContactsWithFetchRequest:everyContact()
                                               error:nullptr
                                          usingBlock:^(CNContact* person, BOOL* stop) {
                                              @autoreleasepool {
                                                  *stop = !answer->add(contactOf(person));
                                              }
                                          }];
        return isWhole ? ContactOutcome::Complete : ContactOutcome::Unanswered;
    } @catch (id) {
        return ContactOutcome::Unanswered;
    }
}

CNAuthorizationStatus accessStatus()
{
    return [CNContactStore authorizationStatusForEntityType:CNEntityTypeContacts];
}

/// The outcome without access. A denial has an error, too, so the error alone does not tell it from
/// a store that fails.
ContactOutcome outcomeWithoutAccess(NSError* error)
{
    const CNAuthorizationStatus status = accessStatus();
    const bool isDenied
        = status == CNAuthorizationStatusDenied || status == CNAuthorizationStatusRestricted;
    return isDenied || !error ? ContactOutcome::Denied : ContactOutcome::Unanswered;
}

/// Requests access to the store. If it is granted while the caller still waits, adds the contacts.
void ask(std::shared_ptr<Answer> answer)
{
    @try {
        if (accessStatus() == CNAuthorizationStatusNotDetermined)
            answer->promptOpens();
        CNContactStore* store = pooled([[CNContactStore alloc] init]);
        [store requestAccessForEntityType:CNEntityTypeContacts
                        completionHandler:^(BOOL isGranted, NSError* error) {
                            @autoreleasepool {
                                answer->promptCloses();
                                if (!isGranted || error)
                                    answer->complete(outcomeWithoutAccess(error));
                                else if (answer->isAwaited())
                                    answer->complete(enumerate(store, answer));
                            }
                        }];
    } @catch (id) {
        answer->complete(ContactOutcome::Unanswered);
    }
}

} // namespace

ContactsFrameworkSource::ContactsFrameworkSource(
    AccessPrompt prompt, std::chrono::milliseconds timeout)
    : m_prompt(std::move(prompt))
    , m_timeout(timeout)
{
}

/// The thread is detached, not joined: a framework call that never returns blocks nothing else.
ContactReading ContactsFrameworkSource::forEachContact(const Visitor& visit) const
{
    const auto answer = std::make_shared<Answer>();
    std::thread([answer] {
        @autoreleasepool {
            ask(answer);
        }
    }).detach();
    const ContactOutcome outcome = answer->await(m_timeout, m_prompt);
    for (const Contact& contact : answer->takeContacts())
        visit(contact);
    return {.outcome = outcome,
        .silent = outcome == ContactOutcome::Unanswered ? "the system's address book" : ""};
}

} // namespace korvane
