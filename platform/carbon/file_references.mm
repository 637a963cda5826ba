/* The file manager's references on POSIX paths: FSRef, FSSpec and catalog information
   over one volume rooted at "/", node IDs from a process-wide table of canonical paths,
   and the file URL conversions of Core Foundation that use them. */
#import <Foundation/Foundation.h>
#include <CoreFoundation/CoreFoundation.h>
#include <CoreServices/CoreServices.h>

#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstring>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

namespace {

constexpr UInt32 kReferenceMagic = 0x51565266;  // 'QVRf'

/* What an FSRef holds in its 80 bytes; the rest stays zero. */
struct ReferenceContents {
  UInt32 magic;
  UInt32 nodeID;
  UInt64 device;
  UInt64 inode;
};
static_assert(sizeof(ReferenceContents) <= sizeof(FSRef), "a reference fits an FSRef");

/* Node IDs 3 and up, one per canonical path ever referenced; never shrinks, so an ID
   names the same path for the life of the process. The root is always 2. */
struct PathTable {
  std::mutex mutex;
  std::vector<std::string> paths;
  std::unordered_map<std::string, UInt32> ids;
};

PathTable& pathTable() {
  static PathTable* table = new PathTable;  // outlives every static destructor
  return *table;
}

bool nodeIDForPath(const std::string& canonical, UInt32& nodeID) {
  if (canonical == "/") {
    nodeID = fsRtDirID;
    return true;
  }
  PathTable& table = pathTable();
  std::lock_guard<std::mutex> lock(table.mutex);
  auto found = table.ids.find(canonical);
  if (found != table.ids.end()) {
    nodeID = found->second;
    return true;
  }
  if (table.paths.size() >= 0x7FFFFFF0u) return false;
  try {
    nodeID = static_cast<UInt32>(table.paths.size() + 3);
    table.paths.push_back(canonical);
    table.ids.emplace(canonical, nodeID);
  } catch (...) {
    return false;
  }
  return true;
}

bool pathForNodeID(UInt32 nodeID, std::string& path) {
  if (nodeID == fsRtDirID) {
    path = "/";
    return true;
  }
  if (nodeID < 3) return false;
  PathTable& table = pathTable();
  std::lock_guard<std::mutex> lock(table.mutex);
  if (nodeID - 3 >= table.paths.size()) return false;
  path = table.paths[nodeID - 3];
  return true;
}

/* Absolute, with "." and ".." and repeated slashes resolved lexically (links are not
   followed), without a trailing slash except for the root. */
bool canonicalPath(const char* input, std::string& out) {
  if (input == nullptr || input[0] == '\0') return false;
  std::string path;
  if (input[0] != '/') {
    char cwd[PATH_MAX];
    if (getcwd(cwd, sizeof cwd) == nullptr) return false;
    path = std::string(cwd) + "/";
  }
  path += input;
  std::vector<std::string> parts;
  size_t at = 0;
  while (at <= path.size()) {
    size_t slash = path.find('/', at);
    if (slash == std::string::npos) slash = path.size();
    std::string part = path.substr(at, slash - at);
    if (part == "..") {
      if (!parts.empty()) parts.pop_back();
    } else if (!part.empty() && part != ".") {
      parts.push_back(part);
    }
    at = slash + 1;
  }
  out.clear();
  for (const std::string& part : parts) out += "/" + part;
  if (out.empty()) out = "/";
  return true;
}

std::string parentOf(const std::string& canonical) {
  size_t slash = canonical.rfind('/');
  return slash == 0 || slash == std::string::npos ? "/" : canonical.substr(0, slash);
}

std::string nameOf(const std::string& canonical) {
  return canonical == "/" ? std::string() : canonical.substr(canonical.rfind('/') + 1);
}

/* The path and status of the object a reference names, if it still names it. */
OSErr resolve(const FSRef* ref, std::string& path, struct stat& status) {
  if (ref == nullptr) return paramErr;
  ReferenceContents contents;
  std::memcpy(&contents, ref, sizeof contents);
  if (contents.magic != kReferenceMagic || !pathForNodeID(contents.nodeID, path)) return paramErr;
  if (stat(path.c_str(), &status) != 0) return fnfErr;
  if (UInt64(status.st_dev) != contents.device || UInt64(status.st_ino) != contents.inode) return fnfErr;
  return noErr;
}

OSErr makeReference(const std::string& canonical, FSRef* ref, bool* isDirectory) {
  struct stat status;
  if (stat(canonical.c_str(), &status) != 0) return fnfErr;
  UInt32 nodeID = 0;
  if (!nodeIDForPath(canonical, nodeID)) return paramErr;
  ReferenceContents contents{kReferenceMagic, nodeID, UInt64(status.st_dev), UInt64(status.st_ino)};
  std::memset(ref, 0, sizeof *ref);
  std::memcpy(ref, &contents, sizeof contents);
  if (isDirectory) *isDirectory = S_ISDIR(status.st_mode);
  return noErr;
}

/* UTF-8 to UTF-16; a byte that starts no valid sequence becomes U+FFFD. */
std::vector<UniChar> utf16Of(const std::string& text) {
  std::vector<UniChar> out;
  const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
  size_t n = text.size(), i = 0;
  while (i < n) {
    unsigned char lead = bytes[i];
    UInt32 code = 0xFFFD;
    size_t length = lead < 0x80 ? 1 : (lead >> 5) == 6 ? 2 : (lead >> 4) == 14 ? 3 : (lead >> 3) == 30 ? 4 : 0;
    if (length == 1) {
      code = lead;
    } else if (length > 1 && i + length <= n) {
      UInt32 value = lead & (0x7F >> length);
      bool valid = true;
      for (size_t k = 1; k < length; ++k) {
        if ((bytes[i + k] & 0xC0) != 0x80) valid = false;
        value = (value << 6) | (bytes[i + k] & 0x3F);
      }
      static const UInt32 smallest[] = {0, 0, 0x80, 0x800, 0x10000};
      if (valid && value >= smallest[length] && value <= 0x10FFFF && (value < 0xD800 || value > 0xDFFF)) code = value;
      else length = 1;
    } else {
      length = 1;
    }
    i += length;
    if (code >= 0x10000) {
      out.push_back(static_cast<UniChar>(0xD800 + ((code - 0x10000) >> 10)));
      out.push_back(static_cast<UniChar>(0xDC00 + ((code - 0x10000) & 0x3FF)));
    } else {
      out.push_back(static_cast<UniChar>(code));
    }
  }
  return out;
}

/* A name as an FSSpec holds it: a Pascal string of at most 63 bytes. */
bool validName(const std::string& name) {
  return !name.empty() && name.size() <= 63 && name != "." && name != ".." && name.find('/') == std::string::npos &&
         name.find('\0') == std::string::npos;
}

void fillFileSpec(FSSpec* fileSpec, SInt32 parentID, const std::string& name) {
  std::memset(fileSpec, 0, sizeof *fileSpec);
  fileSpec->vRefNum = kQVRFileVolume;
  fileSpec->parID = parentID;
  fileSpec->name[0] = static_cast<unsigned char>(name.size());
  std::memcpy(fileSpec->name + 1, name.data(), name.size());
}

/* The path an FSSpec names: the root is "/" in the root's parent. */
OSErr fileSpecPath(const FSSpec* fileSpec, std::string& path) {
  if (fileSpec == nullptr) return paramErr;
  if (fileSpec->vRefNum != kQVRFileVolume && fileSpec->vRefNum != 0) return nsvErr;
  std::string name(reinterpret_cast<const char*>(fileSpec->name + 1), std::min<size_t>(fileSpec->name[0], 63));
  if (fileSpec->parID == fsRtParID) {
    if (name != "/") return fnfErr;
    path = "/";
    return noErr;
  }
  std::string directory;
  if (fileSpec->parID < 0 || !pathForNodeID(UInt32(fileSpec->parID), directory)) return dirNFErr;
  if (!validName(name)) return bdNamErr;
  path = directory == "/" ? "/" + name : directory + "/" + name;
  return noErr;
}

}  // namespace

extern "C" OSStatus FSPathMakeRef(const UInt8* path, FSRef* ref, Boolean* isDirectory) {
  std::string canonical;
  if (ref == nullptr || !canonicalPath(reinterpret_cast<const char*>(path), canonical)) return paramErr;
  bool directory = false;
  OSErr result = makeReference(canonical, ref, &directory);
  if (result == noErr && isDirectory) *isDirectory = directory;
  return result;
}

extern "C" OSStatus FSRefMakePath(const FSRef* ref, UInt8* path, UInt32 maxPathSize) {
  std::string own;
  struct stat status;
  if (path == nullptr) return paramErr;
  OSErr result = resolve(ref, own, status);
  if (result != noErr) return result;
  if (own.size() + 1 > maxPathSize) return paramErr;
  std::memcpy(path, own.c_str(), own.size() + 1);
  return noErr;
}

extern "C" OSErr FSGetCatalogInfo(const FSRef* ref, FSCatalogInfoBitmap whichInfo, FSCatalogInfo* catalogInfo,
                                  HFSUniStr255* outName, FSSpec* fileSpec, FSRef* parentRef) {
  std::string path;
  struct stat status;
  OSErr result = resolve(ref, path, status);
  if (result != noErr) return result;
  bool isRoot = path == "/";
  std::string parent = parentOf(path), name = nameOf(path);
  UInt32 nodeID = 0, parentID = fsRtParID;
  if (!nodeIDForPath(path, nodeID) || (!isRoot && !nodeIDForPath(parent, parentID))) return paramErr;
  if (fileSpec && !isRoot && !validName(name)) return bdNamErr;
  if (catalogInfo) {
    std::memset(catalogInfo, 0, sizeof *catalogInfo);
    if (whichInfo & kFSCatInfoNodeFlags) catalogInfo->nodeFlags = S_ISDIR(status.st_mode) ? kFSNodeIsDirectoryMask : 0;
    if (whichInfo & kFSCatInfoVolume) catalogInfo->volume = kQVRFileVolume;
    if (whichInfo & kFSCatInfoParentDirID) catalogInfo->parentDirID = parentID;
    if (whichInfo & kFSCatInfoNodeID) catalogInfo->nodeID = nodeID;
    if ((whichInfo & kFSCatInfoDataSizes) && S_ISREG(status.st_mode)) {
      catalogInfo->dataLogicalSize = UInt64(status.st_size);
      catalogInfo->dataPhysicalSize = UInt64(status.st_blocks) * 512;
    }
  }
  if (outName) {
    std::vector<UniChar> units = utf16Of(name);
    size_t count = std::min<size_t>(units.size(), 255);
    std::memset(outName, 0, sizeof *outName);
    outName->length = static_cast<UInt16>(count);
    if (count) std::memcpy(outName->unicode, units.data(), count * sizeof(UniChar));
  }
  if (fileSpec) fillFileSpec(fileSpec, SInt32(parentID), isRoot ? std::string("/") : name);
  if (parentRef) {
    std::memset(parentRef, 0, sizeof *parentRef);
    if (!isRoot) {
      OSErr parentResult = makeReference(parent, parentRef, nullptr);
      if (parentResult != noErr) return parentResult;
    }
  }
  return noErr;
}

extern "C" OSErr FSMakeFSSpec(SInt16 vRefNum, SInt32 dirID, const unsigned char* fileName, FSSpec* fileSpec) {
  if (fileSpec == nullptr) return paramErr;
  if (vRefNum != kQVRFileVolume && vRefNum != 0) return nsvErr;
  std::string name = fileName ? std::string(reinterpret_cast<const char*>(fileName + 1), fileName[0]) : std::string();
  struct stat status;
  if (name.empty()) {  // the directory itself
    std::string directory;
    if (dirID < 0 || !pathForNodeID(UInt32(dirID), directory)) return dirNFErr;
    if (directory == "/") {
      fillFileSpec(fileSpec, fsRtParID, "/");
      return noErr;
    }
    UInt32 parentID = 0;
    if (!nodeIDForPath(parentOf(directory), parentID)) return paramErr;
    if (!validName(nameOf(directory))) return bdNamErr;
    fillFileSpec(fileSpec, SInt32(parentID), nameOf(directory));
    return stat(directory.c_str(), &status) == 0 ? noErr : fnfErr;
  }
  if (dirID == fsRtParID) {
    if (name != "/") return fnfErr;
    fillFileSpec(fileSpec, fsRtParID, "/");
    return noErr;
  }
  std::string directory;
  if (dirID < 0 || !pathForNodeID(UInt32(dirID), directory)) return dirNFErr;
  if (!validName(name)) return bdNamErr;
  if (stat(directory.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) return dirNFErr;
  fillFileSpec(fileSpec, dirID, name);
  std::string path = directory == "/" ? "/" + name : directory + "/" + name;
  return stat(path.c_str(), &status) == 0 ? noErr : fnfErr;
}

extern "C" OSErr FSpMakeFSRef(const FSSpec* source, FSRef* newRef) {
  if (newRef == nullptr) return paramErr;
  std::string path;
  OSErr result = fileSpecPath(source, path);
  if (result != noErr) return result;
  return makeReference(path, newRef, nullptr);
}

extern "C" Boolean CFURLGetFSRef(CFURLRef url, struct FSRef* fsRef) {
  if (url == NULL || fsRef == NULL) return false;
  NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
  Boolean made = false;
  NSURL* fileURL = (NSURL*)url;
  if ([fileURL isFileURL]) {
    NSString* path = [fileURL path];
    const char* bytes = [path length] ? [path fileSystemRepresentation] : NULL;
    made = bytes && FSPathMakeRef(reinterpret_cast<const UInt8*>(bytes), fsRef, NULL) == noErr;
  }
  [pool release];
  return made;
}

extern "C" CFURLRef CFURLCreateFromFSRef(CFAllocatorRef allocator, const struct FSRef* fsRef) {
  (void)allocator;
  std::string path;
  struct stat status;
  if (resolve(fsRef, path, status) != noErr) return NULL;
  NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
  NSString* text = [[NSFileManager defaultManager] stringWithFileSystemRepresentation:path.c_str()
                                                                              length:path.size()];
  NSURL* url = text ? [[NSURL alloc] initFileURLWithPath:text isDirectory:S_ISDIR(status.st_mode) ? YES : NO] : nil;
  [pool release];
  return (CFURLRef)url;
}
