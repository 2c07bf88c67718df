#include <Contacts/Contacts.h>

#include "ContactsDouble.h"

#include <Block.h>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

NSString* const CNContactGivenNameKey = @"givenName";
NSString* const CNContactFamilyNameKey = @"familyName";
NSString* const CNContactOrganizationNameKey = @"organizationName";
NSString* const CNContactPhoneNumbersKey = @"phoneNumbers";
NSString* const CNContactEmailAddressesKey = @"emailAddresses";

using namespace korvane;
using namespace korvane::contactsDouble;

namespace {

using AccessHandler = void (^)(BOOL granted, NSError* error);
using ContactVisitor = void (^)(CNContact* contact, BOOL* stop);

/// The current play, guarded by `mutex`. Each call works on a copy of the play that it began with.
struct Stage {
    std::mutex mutex;
    std::condition_variable changed;
    Play play;
    Record record;
    bool isReleased = false;
    bool isAnswered = false; ///< the user has answered the prompt
    int inside = 0; ///< calls and threads that are still running
};

Stage stage;
std::atomic<int> living = 0; ///< stores, requests and contacts not deallocated

/// RAII: counts a call or a thread in `stage.inside` while it runs.
class Inside {
public:
    Inside()
    {
        const std::lock_guard lock(stage.mutex);
        ++stage.inside;
    }

    ~Inside()
    {
        const std::lock_guard lock(stage.mutex);
        --stage.inside;
        stage.changed.notify_all();
    }

    Inside(const Inside&) = delete;
    Inside& operator=(const Inside&) = delete;
};

Play write(const std::string& call)
{
    const std::lock_guard lock(stage.mutex);
    stage.record.calls.push_back(call);
    return stage.play;
}

void block()
{
    std::unique_lock lock(stage.mutex);
    stage.changed.wait(lock, [] { return stage.isReleased; });
}

void raise()
{
    [NSException raise:NSGenericException format:@"the store is out of order"];
}

NSError* someError()
{
    return [NSError errorWithDomain:@"CNErrorDomain" code:1 userInfo:nil];
}

NSString* text(const std::string& utf8)
{
    return [[[NSString alloc] initWithBytes:utf8.data()
                                     length:utf8.size()
                                   encoding:NSUTF8StringEncoding] autorelease];
}

void noteAnswer()
{
    const std::lock_guard lock(stage.mutex);
    stage.isAnswered = true;
}

void answer(Access access, AccessHandler handler)
{
    const Inside inside;
    noteAnswer();
    @autoreleasepool {
        if (access == Access::Failed)
            handler(NO, someError());
        else if (access == Access::GrantedWithAnError)
            handler(YES, someError());
        else
            handler(access == Access::Granted, nil);
    }
}

/// On a Mac, copying a block retains the objects that it captures. Debian's blocks runtime does not
/// do that, so retain the store here.
void answerLater(CNContactStore* store, const Play& play, AccessHandler handler)
{
    [store retain];
    auto kept = reinterpret_cast<AccessHandler>(Block_copy(handler));
    auto inside = std::make_shared<Inside>();
    std::thread([store, play, kept, inside] {
        std::this_thread::sleep_for(play.answersAfter);
        answer(play.access, kept);
        Block_release(kept);
        [store release];
    }).detach();
}

} // namespace

void contactsDouble::begin(Play play)
{
    const std::lock_guard lock(stage.mutex);
    stage.play = std::move(play);
    stage.record = {};
    stage.isReleased = false;
    stage.isAnswered = false;
}

Record contactsDouble::record()
{
    const std::lock_guard lock(stage.mutex);
    return stage.record;
}

int contactsDouble::alive()
{
    return living;
}

void contactsDouble::release()
{
    std::unique_lock lock(stage.mutex);
    stage.isReleased = true;
    stage.changed.notify_all();
    stage.changed.wait(lock, [] { return stage.inside == 0; });
}

@implementation CNPhoneNumber

- (instancetype)initWithText:(NSString*)text
{
    self = [super init];
    m_text = [text copy];
    return self;
}

- (void)dealloc
{
    [m_text release];
    [super dealloc];
}

- (NSString*)stringValue
{
    return m_text;
}

@end

@implementation CNLabeledValue

- (instancetype)initWithValue:(id)value
{
    self = [super init];
    m_value = [value retain];
    return self;
}

- (void)dealloc
{
    [m_value release];
    [super dealloc];
}

- (id)value
{
    return m_value;
}

@end

/// As in the framework, reading a property that was not fetched raises an exception.
@implementation CNContact

- (instancetype)initWithValues:(NSDictionary*)values
{
    self = [super init];
    m_values = [values copy];
    ++living;
    return self;
}

- (void)dealloc
{
    --living;
    [m_values release];
    [super dealloc];
}

- (id)valueOfKey:(NSString*)key
{
    id value = [m_values objectForKey:key];
    if (!value)
        [NSException raise:@"CNPropertyNotFetchedException" format:@"%@", key];
    return value;
}

- (NSString*)givenName
{
    return [self valueOfKey:CNContactGivenNameKey];
}

- (NSString*)familyName
{
    return [self valueOfKey:CNContactFamilyNameKey];
}

- (NSString*)organizationName
{
    return [self valueOfKey:CNContactOrganizationNameKey];
}

- (NSArray*)phoneNumbers
{
    return [self valueOfKey:CNContactPhoneNumbersKey];
}

- (NSArray*)emailAddresses
{
    return [self valueOfKey:CNContactEmailAddressesKey];
}

@end

@implementation CNContactFetchRequest

- (instancetype)initWithKeysToFetch:(NSArray*)keysToFetch
{
    self = [super init];
    m_keys = [keysToFetch copy];
    ++living;
    return self;
}

- (void)dealloc
{
    --living;
    [m_keys release];
    [super dealloc];
}

- (NSArray*)keys
{
    return m_keys;
}

@end

namespace {

CNLabeledValue* labelled(id value)
{
    return [[[CNLabeledValue alloc] initWithValue:value] autorelease];
}

NSArray* numbersOf(const Contact& contact)
{
    NSMutableArray* numbers = [NSMutableArray array];
    for (const std::string& number : contact.phoneNumbers)
        [numbers
            addObject:labelled([[[CNPhoneNumber alloc] initWithText:text(number)] autorelease])];
    return numbers;
}

NSArray* addressesOf(const Contact& contact)
{
    NSMutableArray* addresses = [NSMutableArray array];
    for (const std::string& address : contact.emailAddresses)
        [addresses addObject:labelled(text(address))];
    return addresses;
}

NSDictionary* valuesOf(const Contact& contact, NSArray* keys)
{
    NSDictionary* values = @{
        CNContactGivenNameKey : text(contact.givenName),
        CNContactFamilyNameKey : text(contact.familyName),
        CNContactOrganizationNameKey : text(contact.organizationName),
        CNContactPhoneNumbersKey : numbersOf(contact),
        CNContactEmailAddressesKey : addressesOf(contact)
    };
    NSMutableDictionary* wanted = [NSMutableDictionary dictionary];
    for (NSString* key in keys)
        [wanted setObject:[values objectForKey:key] forKey:key];
    return wanted;
}

/// Raises, blocks or fails if the play says so after `place` contacts. Returns false on failure.
bool goesOn(const Play& play, std::size_t place)
{
    if (play.throwsAfter == place)
        raise();
    if (play.blocksAfter == place)
        block();
    return play.failsAfter != place;
}

void noteFetch(NSArray* keys)
{
    const std::lock_guard lock(stage.mutex);
    stage.record.keys.clear();
    for (NSString* key in keys)
        stage.record.keys.emplace_back(key.UTF8String);
}

void noteContact()
{
    const std::lock_guard lock(stage.mutex);
    ++stage.record.handedOut;
}

/// Passes a contact to the visitor. Returns false if the visitor asked to stop.
bool handOut(const Contact& contact, NSArray* keys, ContactVisitor visitor)
{
    noteContact();
    @autoreleasepool {
        BOOL stop = NO;
        visitor([[[CNContact alloc] initWithValues:valuesOf(contact, keys)] autorelease], &stop);
        return !stop;
    }
}

} // namespace

@implementation CNContactStore

- (instancetype)init
{
    write("create");
    ++living;
    return [super init];
}

- (void)dealloc
{
    --living;
    [super dealloc];
}

/// As in the framework, a request that fails leaves the status as it was.
+ (CNAuthorizationStatus)authorizationStatusForEntityType:(CNEntityType)entityType
{
    const std::lock_guard lock(stage.mutex);
    if (entityType != CNEntityTypeContacts || (stage.play.prompts && !stage.isAnswered))
        return CNAuthorizationStatusNotDetermined;
    const bool isDenied = stage.play.access == Access::Denied;
    return isDenied ? CNAuthorizationStatusDenied : CNAuthorizationStatusAuthorized;
}

- (void)requestAccessForEntityType:(CNEntityType)entityType completionHandler:(AccessHandler)handler
{
    const Inside inside;
    const Play play = write(entityType == CNEntityTypeContacts ? "ask" : "ask for something else");
    if (play.throwsWhenAsked)
        raise();
    if (play.blocksWhenAsked)
        block();
    if (play.access == Access::Unanswered)
        return;
    if (play.answersAfter.count() == 0)
        answer(play.access, handler);
    else
        answerLater(self, play, handler);
}

- (BOOL)enumerateContactsWithFetchRequest:(CNContactFetchRequest*)request
                                    error:(NSError**)error
                               usingBlock:(ContactVisitor)visitor
{
    const Inside inside;
    const Play play = write("enumerate");
    noteFetch([request keys]);
    for (std::size_t i = 0; goesOn(play, i); ++i) {
        if (i == play.contacts.size())
            return YES;
        std::this_thread::sleep_for(play.betweenContacts);
        if (!handOut(play.contacts[i], [request keys], visitor))
            return YES;
    }
    if (error)
        *error = someError();
    return NO;
}

@end
