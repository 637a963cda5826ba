// Host arrays and MemoryBlocks: element storage at byte offset 8, the array entry
// points (create, insert, get, upper bound), references held by elements, MemoryBlocks
// made and read by the plugin and by host code, and built-in members reached by plugins
// through "REALLoadObjectMethod".
#include "host_fixture.h"

#include <cstring>

using host::Value;

TEST_F(HostTest, PluginsFillAndReadArraysOfEveryElementTypeAndReleaseTheirValues) {
  load();
  Value o = rt().newInstance("TestBase");
  Value names = rt().call(o, "Names", {integer(3)});
  ASSERT_TRUE(names.object);
  EXPECT_EQ(rt().classOf(names)->name, "String()");
  auto elements = rt().arrayElements(names);
  ASSERT_EQ(elements.size(), 3u);
  EXPECT_EQ(text(elements[0]) + text(elements[2]), "n0n2");
  // Each element holds one reference of its own (the plugin dropped its own).
  EXPECT_EQ(elements[1].string.get()->refCount, 2);
  EXPECT_EQ(text(rt().call(o, "JoinStrings", {names})), "n0+n1+n2");
  EXPECT_EQ(text(rt().call(o, "JoinStrings", {rt().call(o, "Names", {integer(0)})})), "");

  Value numbers = rt().array(host::kArrayInteger, {integer(1), integer(20), integer(300)});
  EXPECT_EQ(rt().call(o, "SumArray", {numbers}).integer, 321);  // through the get procedure and directly
  EXPECT_EQ(rt().call(o, "SumArray", {rt().array(host::kArrayInteger)}).integer, 0);
  // The element type must match the parameter.
  EXPECT_THROW(rt().call(o, "SumArray", {names}), std::invalid_argument);

  auto d = rt().arrayElements(rt().call(o, "Doubles", {Value::ofDouble(1.5), Value::ofDouble(2.5)}));
  ASSERT_EQ(d.size(), 2u);
  EXPECT_EQ(std::pair(d[0].real, d[1].real), std::pair(1.5, 2.5));  // 1.5 inserted at 0 after 2.5: shifted up
  // Arrays of every element type keep their values and release them.
  struct Case { host::ArrayElementType type; Value value; size_t size; } cases[] = {
      {host::kArrayInteger, integer(-5), sizeof(void*)},  {host::kArrayInt32, Value::ofInt32(-6), 4},
      {host::kArrayInt64, integer(int64_t(1) << 40), 8},  {host::kArrayDouble, Value::ofDouble(0.5), 8},
      {host::kArraySingle, Value::ofSingle(0.25f), 4},    {host::kArrayBoolean, Value::ofBoolean(true), 1},
      {host::kArrayString, str("s"), sizeof(void*)},      {host::kArrayObject, rt().newInstance("TestBase"), sizeof(void*)},
  };
  for (const Case& c : cases) {
    Value array = rt().array(c.type, {c.value, c.value});
    auto* header = array.object.get();
    auto* storage = static_cast<unsigned char*>(header->classWord);
    ASSERT_NE(storage, nullptr);
    EXPECT_EQ(std::memcmp(storage, storage + c.size, c.size), 0) << c.type;  // element size as documented
    auto elements = rt().arrayElements(array);
    ASSERT_EQ(elements.size(), 2u);
    EXPECT_EQ(elements[1].kind, c.value.kind == Value::Kind::Integer && c.type == host::kArrayInt64 ? Value::Kind::Int64
                                                                                                     : c.value.kind);
  }
  EXPECT_THROW(rt().array(static_cast<host::ArrayElementType>(99)), std::invalid_argument);
  size_t objects = rt().liveObjects();
  {
    Value element = rt().newInstance("TestBase");
    {
      Value array = rt().array(host::kArrayObject, {element, element, Value::nil()});
      EXPECT_EQ(element.object.get()->refCount, 3);
      EXPECT_TRUE(rt().arrayElements(array)[2].isNil());
    }
    EXPECT_EQ(element.object.get()->refCount, 1);
  }
  EXPECT_EQ(rt().liveObjects(), objects);
}

TEST_F(HostTest, MemoryBlocksPassBothWaysAndTheirMembersLoadAsRealCFunctions) {
  load();
  Value o = rt().newInstance("TestBase");
  Value block = rt().memoryBlock("\x01\x02\x03", 3);
  EXPECT_EQ(rt().call(o, "BlockSum", {block}).integer, 6);
  Value made = rt().call(o, "MakeBlock", {integer(5)});
  EXPECT_EQ(std::pair(rt().memoryBlockBytes(made), rt().get(made, "Size").integer),
            std::pair(std::string("\0\1\2\3\4", 5), int64_t(5)));
  EXPECT_EQ(rt().memoryBlockBytes(rt().call(o, "MakeBlock", {integer(0)})), "");
  EXPECT_TRUE(rt().call(o, "MakeBlock", {integer(-1)}).isNil());
  // A new block is zero-filled.
  EXPECT_EQ(rt().memoryBlockBytes(rt().newInstance("MemoryBlock", {integer(16)})), std::string(16, '\0'));
  // Its members work for host code.
  block = rt().newInstance("MemoryBlock", {integer(4)});
  rt().assign(block, "Byte", {integer(2)}, integer(200));
  EXPECT_EQ(rt().call(block, "Byte", {integer(2)}).integer, 200);
  rt().assign(block, "Int32Value", {integer(0)}, Value::ofInt32(-2));
  EXPECT_EQ(rt().call(block, "Int32Value", {integer(0)}).integer, -2);
  rt().assign(block, "StringValue", {integer(0), integer(2)}, str("hi"));
  EXPECT_EQ(rt().bytes(rt().call(block, "StringValue", {integer(0), integer(2)})), "hi");
  rt().set(block, "Size", integer(8));
  EXPECT_EQ(rt().memoryBlockBytes(block), std::string("hi\xFF\xFF\0\0\0\0", 8)) << "grown with zeros";
  for (int64_t past : {8, -1}) EXPECT_THROW(rt().call(block, "Byte", {integer(past)}), host::HostException);  // bounds
  // A plugin loads the same members as C functions (libffi closures).
  EXPECT_EQ(rt().call(o, "BlockMembers", {block}).integer, 66 * 1000 + 1);
  EXPECT_EQ(rt().memoryBlockBytes(block).substr(0, 2), "AB");
  // Loaded methods are real C functions.
  auto loadObject = entry<void* (*)(void*, const char*)>("REALLoadObjectMethod");
  auto loadGlobal = entry<void* (*)(void*, const char*)>("REALLoadGlobalMethod");
  ASSERT_TRUE(loadObject && loadGlobal);
  Value leaf = rt().newInstance("TestLeaf", {integer(1)});
  host::ClassInfo* base = rt().findClass("TestBase");
  // Plugin members give the plugin's own functions, found along the hierarchy.
  EXPECT_EQ(loadObject(leaf.object.get(), "add(A AS INTEGER,b as integer=5)as integer"), base->methods[0].function);
  EXPECT_EQ(loadObject(leaf.object.get(), "Slot(i as Integer, assigns v as Integer)"), base->methods[23].setterFunction);
  EXPECT_EQ(loadObject(leaf.object.get(), "Add(a as Double, b as Integer) as Integer"), nullptr);
  // Host functions are closures with the declared C signature, handed out once.
  auto lenB = reinterpret_cast<intptr_t (*)(void*)>(loadGlobal(nullptr, "LenB(s as String) as Integer"));
  auto len = reinterpret_cast<intptr_t (*)(void*)>(loadGlobal(nullptr, "len( text as string ) as integer"));
  ASSERT_TRUE(lenB && len);
  EXPECT_EQ(reinterpret_cast<void*>(lenB), loadGlobal(nullptr, "lenb(x as string) as integer"));
  Value s = rt().string("caf\xC3\xA9", host::kEncodingUTF8);
  EXPECT_EQ(std::tuple(lenB(s.string.get()), len(s.string.get()), lenB(nullptr)), std::tuple(5, 4, 0));
  // A MemoryBlock member returning a string gives the caller one reference.
  block = rt().memoryBlock("xyz", 3);
  auto stringValue = reinterpret_cast<host::StringObject* (*)(void*, intptr_t, intptr_t)>(
      loadObject(block.object.get(), "StringValue(offset as Integer, length as Integer) as String"));
  ASSERT_NE(stringValue, nullptr);
  host::StringObject* yz = stringValue(block.object.get(), 1, 2);
  ASSERT_NE(yz, nullptr);
  EXPECT_EQ(std::pair(yz->refCount, std::string(yz->text(), yz->length)), std::pair(intptr_t(1), std::string("yz")));
  host::StringRef::adopt(yz);  // drop it
  // A member raising an exception leaves it pending for the host to throw.
  auto byte = reinterpret_cast<intptr_t (*)(void*, intptr_t)>(loadObject(block.object.get(), "Byte(o as Integer) as Integer"));
  EXPECT_EQ(byte(block.object.get(), 10), 0);
  EXPECT_TRUE(rt().exceptionPending());
  EXPECT_THROW(rt().call(block, "Byte", {integer(0)}), host::HostException);
  EXPECT_FALSE(rt().exceptionPending());
}
