/* FolderItem <-> file NSURL. Names go into URLs and HFSUniStr255 records in Unicode
   normalization form D, as the file system stores them, so that a name typed with
   precomposed letters names the same file. Every Core Foundation object made on the way
   is released on every path (the holders below), the results are autoreleased. */
#import <Foundation/Foundation.h>

#include "convert/file_urls.h"

#include <algorithm>
#include <cstring>

#include <CoreServices/CoreServices.h>

#include "plugin/host_bridge.h"

namespace {

/* One Core Foundation reference, released at scope exit. */
template <typename Ref>
class Owned {
 public:
  explicit Owned(Ref ref = nullptr) : ref_(ref) {}
  ~Owned() {
    if (ref_ != nullptr) CFRelease(ref_);
  }
  Owned(const Owned&) = delete;
  Owned& operator=(const Owned&) = delete;
  Ref get() const { return ref_; }
  /* Hands the reference to the current autorelease pool. */
  id autoreleased() {
    Ref ref = ref_;
    ref_ = nullptr;
    return ref != nullptr ? [(id)ref autorelease] : nil;
  }

 private:
  Ref ref_;
};

/* The root of a volume is the catalog node with this ID. */
const UInt32 kRootNodeID = 2;

/* A copy of name in normalization form D, owned by the caller; name itself, retained
   once more, when no mutable copy can be made. */
CFStringRef CopyDecomposed(CFStringRef name) {
  CFMutableStringRef decomposed = CFStringCreateMutableCopy(kCFAllocatorDefault, 0, name);
  if (decomposed == nullptr) return static_cast<CFStringRef>(CFRetain(name));
  CFStringNormalize(decomposed, kCFStringNormalizationFormD);
  return decomposed;
}

/* The item's own file URL, when it exists. */
CFURLRef CreateExistingItemURL(REALfolderItem file) {
  FSRef ref;
  if (!REALFSRefFromFolderItem(file, &ref, nullptr)) return nullptr;
  return CFURLCreateFromFSRef(kCFAllocatorDefault, &ref);
}

/* The parent folder's URL with the item's name appended. A null result with *tried
   false means the host could not hand the item over this way. */
CFURLRef CreateURLInParent(REALfolderItem file, bool* tried) {
  *tried = false;
  FSRef parentRef;
  HFSUniStr255 name;
  std::memset(&name, 0, sizeof name);
  if (!REALFSRefFromFolderItem(file, &parentRef, &name)) return nullptr;
  Owned<CFURLRef> parent(CFURLCreateFromFSRef(kCFAllocatorDefault, &parentRef));
  if (parent.get() == nullptr || name.length == 0) return nullptr;
  Owned<CFStringRef> leaf(CFStringCreateWithCharacters(kCFAllocatorDefault, name.unicode, name.length));
  if (leaf.get() == nullptr) return nullptr;
  *tried = true;
  Owned<CFStringRef> decomposed(CopyDecomposed(leaf.get()));
  return CFURLCreateCopyAppendingPathComponent(kCFAllocatorDefault, parent.get(), decomposed.get(), false);
}

/* The item's URL through its FSSpec (the item must exist). */
CFURLRef CreateURLFromFileSpec(REALfolderItem file) {
  FSSpec fileSpec;
  FSRef ref;
  if (!REALFSSpecFromFolderItem(&fileSpec, file) || FSpMakeFSRef(&fileSpec, &ref) != noErr) return nullptr;
  return CFURLCreateFromFSRef(kCFAllocatorDefault, &ref);
}

/* A FolderItem for an existing item, by parent FSRef and name, or, for a volume's root
   (which has no parent), by FSSpec. */
REALfolderItem FolderItemForExisting(const FSRef& ref) {
  FSCatalogInfo info;
  FSRef parentRef;
  if (FSGetCatalogInfo(&ref, kFSCatInfoNodeID, &info, nullptr, nullptr, &parentRef) == noErr) {
    if (info.nodeID == kRootNodeID) std::memset(&parentRef, 0, sizeof parentRef);
    HFSUniStr255 name;
    if (FSGetCatalogInfo(&ref, kFSCatInfoNone, nullptr, &name, nullptr, nullptr) == noErr &&
        FSGetCatalogInfo(&parentRef, kFSCatInfoNone, nullptr, nullptr, nullptr, nullptr) == noErr)
      return REALFolderItemFromParentFSRef(&parentRef, &name);
  }
  FSSpec fileSpec;
  if (FSGetCatalogInfo(&ref, kFSCatInfoNone, nullptr, nullptr, &fileSpec, nullptr) != noErr) return nullptr;
  return FolderItemFromFSSpec(&fileSpec);
}

/* A FolderItem for a missing item in an existing folder: the folder's FSRef and the
   URL's last path component, decomposed and cut to the 255 UTF-16 units a name holds. */
REALfolderItem FolderItemForMissing(CFURLRef url) {
  Owned<CFURLRef> parent(CFURLCreateCopyDeletingLastPathComponent(kCFAllocatorDefault, url));
  FSRef parentRef;
  if (parent.get() == nullptr || !CFURLGetFSRef(parent.get(), &parentRef)) return nullptr;
  Owned<CFStringRef> leaf(CFURLCopyLastPathComponent(url));
  if (leaf.get() == nullptr) return nullptr;
  Owned<CFStringRef> decomposed(CopyDecomposed(leaf.get()));
  HFSUniStr255 name;
  std::memset(&name, 0, sizeof name);
  CFIndex length = std::max<CFIndex>(0, std::min<CFIndex>(CFStringGetLength(decomposed.get()), 255));
  name.length = static_cast<UInt16>(length);
  CFStringGetCharacters(decomposed.get(), CFRangeMake(0, length), name.unicode);
  return REALFolderItemFromParentFSRef(&parentRef, &name);
}

}  // namespace

NSURL* NewNSURLfile(REALfolderItem file) {
  if (file == nullptr) return nil;
  Owned<CFURLRef> existing(CreateExistingItemURL(file));
  if (existing.get() != nullptr) return existing.autoreleased();
  bool tried = false;
  Owned<CFURLRef> inParent(CreateURLInParent(file, &tried));
  /* Once the parent and the name were in hand, the append decides: no FSSpec after it. */
  if (tried) return inParent.autoreleased();
  Owned<CFURLRef> fromFileSpec(CreateURLFromFileSpec(file));
  return fromFileSpec.autoreleased();
}

REALfolderItem NSURLRBFile(NSURL* url) {
  if (url == nil) return nullptr;
  FSRef ref;
  if (CFURLGetFSRef((CFURLRef)url, &ref)) return FolderItemForExisting(ref);
  return FolderItemForMissing((CFURLRef)url);
}
