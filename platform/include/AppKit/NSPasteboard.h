/* NSPasteboard: named pasteboards of this process holding data by type (the general
   pasteboard among them), with change counts as AppKit counts them. No other process
   sees them. */
#ifndef QVR_APPKIT_NSPASTEBOARD_H
#define QVR_APPKIT_NSPASTEBOARD_H

#import <Foundation/Foundation.h>
#import <AppKit/NSGraphics.h>

/* Pasteboard names. */
APPKIT_EXTERN NSString* const NSGeneralPboard;
APPKIT_EXTERN NSString* const NSFontPboard;
APPKIT_EXTERN NSString* const NSRulerPboard;
APPKIT_EXTERN NSString* const NSFindPboard;
APPKIT_EXTERN NSString* const NSDragPboard;
APPKIT_EXTERN NSString* const NSPasteboardNameGeneral;

/* Types. An older name and the newer one of the same format are the same string. */
APPKIT_EXTERN NSString* const NSPasteboardTypeString;
APPKIT_EXTERN NSString* const NSPasteboardTypePDF;
APPKIT_EXTERN NSString* const NSPasteboardTypeTIFF;
APPKIT_EXTERN NSString* const NSPasteboardTypePNG;
APPKIT_EXTERN NSString* const NSPasteboardTypeRTF;
APPKIT_EXTERN NSString* const NSPasteboardTypeURL;
APPKIT_EXTERN NSString* const NSPasteboardTypeFileURL;
APPKIT_EXTERN NSString* const NSStringPboardType;
APPKIT_EXTERN NSString* const NSFilenamesPboardType;
APPKIT_EXTERN NSString* const NSPostScriptPboardType;
APPKIT_EXTERN NSString* const NSTIFFPboardType;
APPKIT_EXTERN NSString* const NSRTFPboardType;
APPKIT_EXTERN NSString* const NSPDFPboardType;
APPKIT_EXTERN NSString* const NSPICTPboardType;
APPKIT_EXTERN NSString* const NSURLPboardType;
APPKIT_EXTERN NSString* const NSFileContentsPboardType;

@interface NSPasteboard : NSObject {
 @private
  NSString* _name;
  NSMutableArray* _types;
  NSMutableDictionary* _contents;
  NSInteger _changeCount;
}

+ (NSPasteboard*)generalPasteboard;
+ (NSPasteboard*)pasteboardWithName:(NSString*)name;
/* A pasteboard with a name of its own. */
+ (NSPasteboard*)pasteboardWithUniqueName;

- (NSString*)name;
- (NSInteger)changeCount;
- (void)releaseGlobally;

/* Declaring empties the pasteboard; both answer the new change count. */
- (NSInteger)declareTypes:(NSArray*)newTypes owner:(id)newOwner;
- (NSInteger)addTypes:(NSArray*)newTypes owner:(id)newOwner;
- (NSInteger)clearContents;
- (NSArray*)types;
/* The first of types that the pasteboard holds, or nil. */
- (NSString*)availableTypeFromArray:(NSArray*)types;
- (BOOL)canReadItemWithDataConformingToTypes:(NSArray*)types;

/* Setting data for a type not yet declared declares it. */
- (BOOL)setData:(NSData*)data forType:(NSString*)dataType;
- (BOOL)setString:(NSString*)string forType:(NSString*)dataType;
- (BOOL)setPropertyList:(id)plist forType:(NSString*)dataType;
- (NSData*)dataForType:(NSString*)dataType;
- (NSString*)stringForType:(NSString*)dataType;
- (id)propertyListForType:(NSString*)dataType;

@end

#endif
