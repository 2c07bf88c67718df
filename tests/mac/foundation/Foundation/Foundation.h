#pragma once

// As much of Foundation as the adapter and <Contacts/Contacts.h> use, declared so that a compiler
// can check them for the Mac's own runtime without the Mac's headers.

typedef signed char BOOL;
typedef long NSInteger;
typedef unsigned long NSUInteger;
#define YES __objc_yes
#define NO __objc_no
#ifndef nil
#define nil nullptr
#endif

@protocol NSObject
@end

__attribute__((objc_root_class))
@interface NSObject<NSObject>
+ (instancetype)alloc;
- (instancetype)init;
#if !__has_feature(objc_arc)
- (instancetype)autorelease;
#endif
@end

@interface NSData : NSObject
@property (readonly) NSUInteger length;
@property (readonly) const void* bytes;
@end

@interface NSString : NSObject
- (NSData*)dataUsingEncoding:(NSUInteger)encoding allowLossyConversion:(BOOL)lossy;
@end

@interface NSError : NSObject
@end

struct NSFastEnumerationState {
    unsigned long state;
    id __unsafe_unretained* itemsPtr;
    unsigned long* mutationsPtr;
    unsigned long extra[5];
};

@interface NSArray<ObjectType> : NSObject
+ (instancetype)arrayWithObjects:(const ObjectType[])objects count:(NSUInteger)count;
- (NSUInteger)countByEnumeratingWithState:(NSFastEnumerationState*)state
                                  objects:(id __unsafe_unretained[])buffer
                                    count:(NSUInteger)length;
@end

@interface NSDictionary : NSObject
@end

enum { NSUTF8StringEncoding = 4 };
