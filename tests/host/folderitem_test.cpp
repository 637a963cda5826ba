// The built-in FolderItem: paths, existence, parents and children, the 1-based listing
// of TrueItem, deleting, and the hand-over to plugins as FSRef, parent FSRef plus name,
// and FSSpec, both ways.
#include "host_fixture.h"
#include "support/plugin_host.h"

#include <sys/stat.h>
#include <unistd.h>

#include <thread>

namespace {

class FolderItemTest : public HostTest {
 protected:
  void write(const std::string& name, const std::string& bytes) { folder_.write(name, bytes); }
  host::Value item(const std::string& path) { return rt().newInstance("FolderItem", {str(path.c_str())}); }
  std::string path(const host::Value& v) { return rt().folderItemPath(v); }
  bool flag(const host::Value& v, const char* name) { return rt().get(v, name).boolean; }
  // "path, exists|missing, file|folder, Length" of an item.
  std::string state(const host::Value& v) {
    return path(v) + (flag(v, "Exists") ? ", exists, " : ", missing, ") +
           (flag(v, "Directory") ? "folder, " : "file, ") + std::to_string(rt().get(v, "Length").integer);
  }
  host::Value handOver(const char* member, std::vector<host::Value> args) {
    return rt().callShared("TestHandOver", member, std::move(args));
  }

  support::TempFolder folder_;
  const std::string dir_ = folder_.path();
};

TEST_F(FolderItemTest, PathsNamesParentsChildrenTrueItemDeletingRenamingAndNewFolders) {
  load();
  write("a.txt", "hello");
  host::Value f = item(dir_ + "/./sub/../a.txt");
  EXPECT_EQ(state(f), dir_ + "/a.txt, exists, file, 5");
  EXPECT_EQ(text(rt().get(f, "NativePath")) + " " + text(rt().get(f, "Name")), dir_ + "/a.txt a.txt");
  EXPECT_EQ(state(rt().get(f, "Parent")), dir_ + ", exists, folder, 0");
  host::Value root = item("/");
  EXPECT_TRUE(rt().get(root, "Parent").isNil());
  EXPECT_EQ(text(rt().get(root, "Name")), "");
  EXPECT_EQ(path(rt().folderItem("relative/../x")), path(rt().newInstance("FolderItem")) + "/x");
  host::Value folder = item(dir_);
  EXPECT_EQ(state(rt().call(folder, "Child", {str("missing.png")})), dir_ + "/missing.png, missing, file, 0");
  for (const char* name : {"a/b", "..", ""}) EXPECT_TRUE(rt().call(folder, "Child", {str(name)}).isNil()) << name;
  // TrueItem counts from one in name order (a.txt is there already).
  write("b", "2");
  write("a", "1");
  ASSERT_EQ(mkdir((dir_ + "/c").c_str(), 0700), 0);
  EXPECT_EQ(rt().get(folder, "Count").integer, 4);
  for (const auto& [index, name] : {std::pair{1, "a"}, {2, "a.txt"}, {3, "b"}})
    EXPECT_EQ(path(rt().call(folder, "TrueItem", {integer(index)})), dir_ + "/" + name);
  EXPECT_TRUE(flag(rt().call(folder, "TrueItem", {integer(4)}), "Directory"));
  EXPECT_TRUE(rt().call(folder, "TrueItem(index as integer) as folderitem", {integer(0)}).isNil());
  EXPECT_TRUE(rt().call(folder, "TrueItem", {integer(5)}).isNil());
  EXPECT_TRUE(rt().call(rt().call(folder, "Child", {str("a")}), "TrueItem", {integer(1)}).isNil());
  // Deleting, renaming and making folders.
  write("old", "x");
  f = item(dir_ + "/old");
  rt().set(f, "Name", str("new"));
  EXPECT_EQ(rt().get(f, "LastErrorCode").integer, 0);
  EXPECT_EQ(state(f), dir_ + "/new, exists, file, 1");
  EXPECT_NE(access((dir_ + "/old").c_str(), F_OK), 0);
  rt().call(f, "Delete");
  EXPECT_EQ(rt().get(f, "LastErrorCode").integer, 0);
  EXPECT_FALSE(flag(f, "Exists"));
  rt().call(f, "Delete");
  EXPECT_NE(rt().get(f, "LastErrorCode").integer, 0);
  folder = item(dir_ + "/folder");
  rt().call(folder, "CreateAsFolder");
  EXPECT_TRUE(flag(folder, "Directory"));
  write("folder/inside", "");
  rt().call(folder, "Delete");
  EXPECT_NE(rt().get(folder, "LastErrorCode").integer, 0) << "a folder with items is not deleted";
  EXPECT_TRUE(flag(folder, "Exists"));
  rt().set(folder, "Name", str("a/b"));
  EXPECT_NE(rt().get(folder, "LastErrorCode").integer, 0);
  EXPECT_EQ(path(folder), dir_ + "/folder");
}

TEST_F(FolderItemTest, ItemsAreHandedOverAsFSRefsParentsAndNamesAndFSSpecsBothWaysButNotToAForeignThread) {
  load();
  write("pic.png", "x");
  // FSRefs of existing items only.
  for (const auto& [item, ref] : std::vector<std::pair<host::Value, std::string>>{
           {item(dir_ + "/pic.png"), dir_ + "/pic.png"}, {item(dir_), dir_}, {item("/"), "/"},
           {item(dir_ + "/missing"), ""}, {host::Value::nil(), ""}})
    EXPECT_EQ(text(handOver("RefPath", {item})), ref);
  EXPECT_EQ(text(handOver("ParentRefAndName", {item(dir_ + "/caf\xC3\xA9.png")})), dir_ + "|caf\xC3\xA9.png");
  EXPECT_EQ(text(handOver("ParentRefAndName", {item(dir_ + "/nowhere/x.png")})), "") << "the parent must exist";
  EXPECT_EQ(text(handOver("ParentRefAndName", {item("/")})), "") << "the root has no parent";
  auto toRef = entry<bool (*)(void*, void*, void*)>("REALFSRefFromFolderItem");
  ASSERT_NE(toRef, nullptr);
  host::Value f = item(dir_);
  unsigned char ref[80] = {};
  bool made = true;
  std::thread([&] { made = toRef(f.object.get(), ref, nullptr); }).join();
  EXPECT_EQ(std::pair(made, rt().foreignThreadCalls()), std::pair(false, size_t(1)));
  EXPECT_TRUE(toRef(f.object.get(), ref, nullptr));
  // A FolderItem comes back from a parent and a name, and FSSpecs go both ways.
  host::Value folder = item(dir_);
  EXPECT_EQ(state(handOver("FromParent", {folder, str("new.png"), integer(7)})), dir_ + "/new.png, missing, file, 0");
  std::string name(255, 'n');
  EXPECT_EQ(path(handOver("FromParent", {folder, str(name.c_str()), integer(255)})), dir_ + "/" + name);
  for (const auto& [name, length] : {std::pair{"a/b", 3}, {"..", 2}, {"", 0}, {"x", 256}})
    EXPECT_TRUE(handOver("FromParent", {folder, str(name), integer(length)}).isNil()) << name;
  EXPECT_TRUE(handOver("FromParent", {item(dir_ + "/missing"), str("x"), integer(1)}).isNil());
  write("there", "");
  for (const std::string& p : {dir_ + "/there", dir_ + "/not-there", dir_, std::string("/")})
    EXPECT_EQ(path(handOver("FileSpecRoundTrip", {item(p)})), p);
  for (auto [p, fileSpec] : {std::pair{"/", "1:/"}, {"/tmp", "2:tmp"}})
    EXPECT_EQ(text(handOver("FileSpecOf", {item(p)})), fileSpec);
  std::string described = text(handOver("FileSpecOf", {item(dir_ + "/not-there")}));
  EXPECT_EQ(described.substr(described.find(':')), ":not-there");
  EXPECT_GT(std::stol(described), 2);
  std::string longName(64, 'l');
  EXPECT_TRUE(handOver("FileSpecRoundTrip", {item(dir_ + "/" + longName)}).isNil()) << "an FSSpec holds 63 bytes";
  for (const host::Value& none : {item(dir_ + "/no/such"), host::Value::nil()})
    EXPECT_TRUE(handOver("FileSpecRoundTrip", {none}).isNil());
}

}  // namespace
