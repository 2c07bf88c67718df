#pragma once

// The part of the Contacts framework that the adapter uses, declared for the tests. The instance
// variables are those of the test double.

#import <Foundation/Foundation.h>

#ifdef __cplusplus
#define CONTACTS_EXTERN extern "C"
#else
#define CONTACTS_EXTERN extern
#endif

typedef NSInteger CNEntityType;
enum { CNEntityTypeContacts = 0 };

typedef NSInteger CNAuthorizationStatus;
enum {
    CNAuthorizationStatusNotDetermined = 0,
    CNAuthorizationStatusRestricted,
    CNAuthorizationStatusDenied,
    CNAuthorizationStatusAuthorized
};

@protocol CNKeyDescriptor <NSObject>
@end

@interface NSString (CNKeyDescriptor) <CNKeyDescriptor>
@end

CONTACTS_EXTERN NSString* const CNContactGivenNameKey;
CONTACTS_EXTERN NSString* const CNContactFamilyNameKey;
CONTACTS_EXTERN NSString* const CNContactOrganizationNameKey;
CONTACTS_EXTERN NSString* const CNContactPhoneNumbersKey;
CONTACTS_EXTERN NSString* const CNContactEmailAddressesKey;

@interface CNPhoneNumber : NSObject {
    NSString* m_text;
}
@property (readonly, copy) NSString* stringValue;
@end

@interface CNLabeledValue<ValueType> : NSObject {
    id m_value;
}
@property (readonly, copy) ValueType value;
@end

@interface CNContact : NSObject {
    NSDictionary* m_values;
}
@property (readonly, copy) NSString* givenName;
@property (readonly, copy) NSString* familyName;
@property (readonly, copy) NSString* organizationName;
@property (readonly, copy) NSArray<CNLabeledValue<CNPhoneNumber*>*>* phoneNumbers;
@property (readonly, copy) NSArray<CNLabeledValue<NSString*>*>* emailAddresses;
@end

@interface CNContactFetchRequest : NSObject {
    NSArray* m_keys;
}
- (instancetype)initWithKeysToFetch:(NSArray<id<CNKeyDescriptor>>*)keysToFetch;
@end

@interface CNContactStore : NSObject
+ (CNAuthorizationStatus)authorizationStatusForEntityType:(CNEntityType)entityType;

- (void)requestAccessForEntityType:(CNEntityType)entityType
                 completionHandler:(void (^)(BOOL granted, NSError* error))completionHandler;
- (BOOL)enumerateContactsWithFetchRequest:(CNContactFetchRequest*)fetchRequest
                                    error:(NSError**)error
                               usingBlock:(void (^)(CNContact* contact, BOOL* stop))block;
@end
