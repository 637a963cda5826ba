// The file manager's references on POSIX paths, as host and plugins share them: FSRefs
// of existing objects, catalog information (node ID 2 is the root), FSSpecs that may
// name missing items, and file URLs to and from FSRefs.
#include <CoreFoundation/CoreFoundation.h>
#include <CoreServices/CoreServices.h>

#include <gtest/gtest.h>

#include <objc/message.h>
#include <objc/runtime.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "support/files.h"

namespace {

// The URL functions may leave platform temporaries in the current pool: give them one.
id send(id receiver, const char* selector) {
  SEL sel = sel_registerName(selector);
  return objc_msg_lookup(receiver, sel)(receiver, sel);
}

class FileReferences : public ::testing::Test {
 protected:
  FileReferences() : pool_(send(send(reinterpret_cast<id>(objc_getClass("NSAutoreleasePool")), "alloc"), "init")) {}
  ~FileReferences() override { send(pool_, "release"); }

  void SetUp() override { folder_.write("file", "abc"); }

  FSRef ref(const std::string& path) {
    FSRef out;
    std::memset(&out, 0xAB, sizeof out);
    EXPECT_EQ(FSPathMakeRef(reinterpret_cast<const UInt8*>(path.c_str()), &out, nullptr), noErr) << path;
    return out;
  }
  std::string pathOf(const FSRef& r) {
    UInt8 buffer[4096];
    return FSRefMakePath(&r, buffer, sizeof buffer) == noErr ? reinterpret_cast<char*>(buffer) : "<none>";
  }
  std::string urlPath(CFURLRef url) {
    if (!url) return "<nil>";
    CFStringRef path = CFURLCopyFileSystemPath(url, kCFURLPOSIXPathStyle);
    char buffer[4096] = {};
    CFStringGetCString(path, buffer, sizeof buffer, kCFStringEncodingUTF8);
    CFRelease(path);
    return buffer;
  }

  id pool_;
  support::TempFolder folder_;
  const std::string dir_ = folder_.path();
};

TEST_F(FileReferences, ExistingObjectsOnlyTheSamePathBackAndTheRootIsNodeTwo) {
  Boolean isDirectory = true;
  FSRef r;
  ASSERT_EQ(FSPathMakeRef(reinterpret_cast<const UInt8*>((dir_ + "/./file").c_str()), &r, &isDirectory), noErr);
  EXPECT_FALSE(isDirectory);
  EXPECT_EQ(pathOf(r), dir_ + "/file");
  EXPECT_EQ(FSPathMakeRef(reinterpret_cast<const UInt8*>((dir_ + "/missing").c_str()), &r, nullptr), fnfErr);
  EXPECT_EQ(FSPathMakeRef(nullptr, &r, nullptr), paramErr);
  EXPECT_EQ(FSPathMakeRef(reinterpret_cast<const UInt8*>(""), &r, nullptr), paramErr);
  UInt8 small[4];
  EXPECT_EQ(FSRefMakePath(&r, small, sizeof small), paramErr);
  // The root is node 2 without a parent.
  FSRef root = ref("/");
  FSCatalogInfo info;
  FSRef parent;
  std::memset(&parent, 0x11, sizeof parent);
  FSSpec fileSpec;
  ASSERT_EQ(FSGetCatalogInfo(&root, kFSCatInfoNodeID | kFSCatInfoParentDirID, &info, nullptr, &fileSpec, &parent), noErr);
  EXPECT_EQ(std::pair(info.nodeID, info.parentDirID), std::pair(2u, 1u));
  FSRef zero = {};
  EXPECT_EQ(std::memcmp(&parent, &zero, sizeof zero), 0);
  EXPECT_EQ(fileSpec.parID, fsRtParID);
  FSRef back;
  ASSERT_EQ(FSpMakeFSRef(&fileSpec, &back), noErr);
  EXPECT_EQ(pathOf(back), "/");
}

TEST_F(FileReferences, CatalogInformationFSSpecsOfMissingItemsAndReferencesThatDieWithTheirObjects) {
  FSRef file = ref(dir_ + "/file"), folder = ref(dir_);
  FSCatalogInfo info, folderInfo;
  HFSUniStr255 name;
  FSSpec fileSpec;
  FSRef parent;
  ASSERT_EQ(FSGetCatalogInfo(&file, kFSCatInfoNodeID | kFSCatInfoParentDirID | kFSCatInfoNodeFlags | kFSCatInfoDataSizes,
                             &info, &name, &fileSpec, &parent),
            noErr);
  ASSERT_EQ(FSGetCatalogInfo(&folder, kFSCatInfoNodeID | kFSCatInfoNodeFlags, &folderInfo, nullptr, nullptr, nullptr),
            noErr);
  EXPECT_GT(info.nodeID, 2u);
  EXPECT_EQ(info.parentDirID, folderInfo.nodeID);
  EXPECT_EQ(std::pair(info.nodeFlags & kFSNodeIsDirectoryMask, folderInfo.nodeFlags & kFSNodeIsDirectoryMask),
            std::pair(0, int(kFSNodeIsDirectoryMask)));
  EXPECT_EQ(info.dataLogicalSize, 3u);
  ASSERT_EQ(name.length, 4);
  EXPECT_EQ(std::pair(name.unicode[0], name.unicode[3]), std::pair(UniChar('f'), UniChar('e')));
  EXPECT_EQ(fileSpec.parID, SInt32(folderInfo.nodeID));
  EXPECT_EQ(std::string(reinterpret_cast<char*>(fileSpec.name + 1), fileSpec.name[0]), "file");
  EXPECT_EQ(pathOf(parent), dir_);
  // The same path keeps its node ID.
  FSRef again = ref(dir_ + "/file");
  FSCatalogInfo againInfo;
  ASSERT_EQ(FSGetCatalogInfo(&again, kFSCatInfoNodeID, &againInfo, nullptr, nullptr, nullptr), noErr);
  EXPECT_EQ(againInfo.nodeID, info.nodeID);
  // FSSpecs may name missing items, in existing folders only.
  const SInt32 dirID = SInt32(folderInfo.nodeID);
  const unsigned char missing[] = "\x07missing", fileName[] = "\x04" "file", slash[] = "\x03" "a/b";
  EXPECT_EQ(FSMakeFSSpec(kQVRFileVolume, dirID, missing, &fileSpec), fnfErr);
  EXPECT_EQ(fileSpec.parID, dirID);
  FSRef r;
  EXPECT_EQ(FSpMakeFSRef(&fileSpec, &r), fnfErr);
  ASSERT_EQ(FSMakeFSSpec(kQVRFileVolume, dirID, fileName, &fileSpec), noErr);
  ASSERT_EQ(FSpMakeFSRef(&fileSpec, &r), noErr);
  EXPECT_EQ(pathOf(r), dir_ + "/file");
  FSSpec self;
  ASSERT_EQ(FSMakeFSSpec(kQVRFileVolume, dirID, nullptr, &self), noErr);
  ASSERT_EQ(FSpMakeFSRef(&self, &r), noErr);
  EXPECT_EQ(pathOf(r), dir_);
  EXPECT_EQ(FSMakeFSSpec(kQVRFileVolume, 0x7FFFFFF0, fileName, &fileSpec), dirNFErr);
  EXPECT_EQ(FSMakeFSSpec(7, dirID, fileName, &fileSpec), nsvErr);
  EXPECT_EQ(FSMakeFSSpec(kQVRFileVolume, dirID, slash, &fileSpec), bdNamErr);
  EXPECT_EQ(FSMakeFSSpec(kQVRFileVolume, SInt32(info.nodeID), fileName, &fileSpec), dirNFErr) << "a file is no folder";
  // A reference dies with its object.
  r = ref(dir_ + "/file");
  ASSERT_EQ(rename((dir_ + "/file").c_str(), (dir_ + "/moved").c_str()), 0);
  EXPECT_EQ(pathOf(r), "<none>");
  folder_.write("file", "new");
  UInt8 buffer[4096];
  EXPECT_EQ(FSRefMakePath(&r, buffer, sizeof buffer), fnfErr) << "another object at the same path";
  FSRef moved = ref(dir_ + "/moved");
  ASSERT_EQ(unlink((dir_ + "/moved").c_str()), 0);
  EXPECT_EQ(FSRefMakePath(&moved, buffer, sizeof buffer), fnfErr);
  FSRef garbage;
  std::memset(&garbage, 0x5A, sizeof garbage);
  EXPECT_EQ(FSRefMakePath(&garbage, buffer, sizeof buffer), paramErr);
  FSRef zero = {};
  EXPECT_EQ(FSGetCatalogInfo(&zero, kFSCatInfoNodeID, nullptr, nullptr, nullptr, nullptr), paramErr);
}

TEST_F(FileReferences, FileURLsToAndFromFSRefs) {
  CFStringRef path = CFStringCreateWithCString(nullptr, (dir_ + "/file").c_str(), kCFStringEncodingUTF8);
  CFURLRef url = CFURLCreateWithFileSystemPath(nullptr, path, kCFURLPOSIXPathStyle, false);
  FSRef r;
  ASSERT_TRUE(CFURLGetFSRef(url, &r));
  EXPECT_EQ(pathOf(r), dir_ + "/file");
  CFURLRef back = CFURLCreateFromFSRef(nullptr, &r);
  EXPECT_EQ(urlPath(back), dir_ + "/file");
  FSRef folder = ref(dir_);
  CFURLRef folderURL = CFURLCreateFromFSRef(nullptr, &folder);
  EXPECT_EQ(urlPath(folderURL), dir_);
  CFStringRef missingPath = CFStringCreateWithCString(nullptr, (dir_ + "/missing").c_str(), kCFStringEncodingUTF8);
  CFURLRef missing = CFURLCreateWithFileSystemPath(nullptr, missingPath, kCFURLPOSIXPathStyle, false);
  EXPECT_FALSE(CFURLGetFSRef(missing, &r));
  CFStringRef web = CFStringCreateWithCString(nullptr, "http://example.com/file", kCFStringEncodingUTF8);
  CFURLRef webURL = CFURLCreateWithString(nullptr, web, nullptr);
  EXPECT_FALSE(CFURLGetFSRef(webURL, &r));
  EXPECT_FALSE(CFURLGetFSRef(nullptr, &r));
  FSRef zero = {};
  for (const FSRef* none : {&zero, static_cast<FSRef*>(nullptr)})
    EXPECT_EQ(CFURLCreateFromFSRef(nullptr, none), nullptr);
  for (CFTypeRef object : {(CFTypeRef)path, (CFTypeRef)url, (CFTypeRef)back, (CFTypeRef)folderURL,
                           (CFTypeRef)missingPath, (CFTypeRef)missing, (CFTypeRef)web, (CFTypeRef)webURL})
    CFRelease(object);
}

}  // namespace
