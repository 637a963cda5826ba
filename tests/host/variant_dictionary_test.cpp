// Variants and the built-in Dictionary: values boxed where a Variant is wanted and read
// back through the Variant accessors, VarType and the entry points plugins use; keys
// that compare as the host compares them, assignable Value, Lookup, Remove, Keys, and
// the exceptions for missing keys.
#include "host_fixture.h"

using host::Value;

TEST_F(HostTest, VariantsBoxValuesPluginsReadThemAndDictionaryKeysCompareAsTheHostDoes) {
  load();
  Value boxed = rt().variant(str("12.5"));
  EXPECT_EQ(rt().classOf(boxed)->name, "Variant");
  EXPECT_EQ(std::tuple(rt().get(boxed, "Type").integer, rt().get(boxed, "DoubleValue").real,
                       rt().get(boxed, "IntegerValue").integer),
            std::tuple(8, 12.5, 12));
  // Objects are their own Variants.
  Value block = rt().memoryBlock("ab", 2);
  EXPECT_EQ(rt().variant(block).object.get(), block.object.get());
  for (const auto& [value, type] : std::vector<std::pair<Value, int64_t>>{
           {integer(3), 3}, {Value::ofBoolean(true), 11}, {Value::nil(), 0}, {rt().array(host::kArrayString), 0x1008},
           {block, 9}})
    EXPECT_EQ(rt().callGlobal("VarType", {value}).integer, type) << type;

  // The entry points: a new Variant with one reference for the plugin, read back.
  auto int32ToVariant = entry<host::ObjectHeader* (*)(int32_t)>("Int32ToVariant");
  auto stringToVariant = entry<host::ObjectHeader* (*)(host::StringObject*)>("StringToVariant");
  auto toDouble = entry<double (*)(host::ObjectHeader*)>("VariantToDouble");
  auto toString = entry<host::StringObject* (*)(host::ObjectHeader*)>("VariantToString");
  Value seven = Value::ofObject(host::ObjectRef::adopt(int32ToVariant(7)));
  EXPECT_EQ(std::tuple(seven.object.get()->refCount, rt().unboxed(seven).kind, toDouble(seven.object.get())),
            std::tuple(1, Value::Kind::Int32, 7.0));
  Value x7 = Value::ofObject(host::ObjectRef::adopt(stringToVariant(str("x7").string.get())));
  EXPECT_EQ(text(Value::ofString(host::StringRef::adopt(toString(x7.object.get())))), "x7");
  EXPECT_EQ(text(Value::ofString(host::StringRef::adopt(toString(seven.object.get())))), "7");
  // Dictionary keys compare as the host does.
  Value d = rt().newInstance("Dictionary");
  rt().assign(d, "Value", {str("Name")}, str("first"));
  rt().assign(d, "Value", {str("NAME")}, str("second"));  // the same key
  rt().assign(d, "Value", {integer(1)}, Value::ofDouble(2.5));
  rt().assign(d, "Value", {Value::ofDouble(1.0)}, Value::ofBoolean(true));  // 1.0 is the key 1
  block = rt().memoryBlock("z", 1);
  rt().assign(d, "Value", {block}, block);
  EXPECT_EQ(rt().get(d, "Count").integer, 3);
  EXPECT_EQ(text(rt().unboxed(rt().call(d, "Value", {str("name")}))), "second");
  EXPECT_TRUE(rt().unboxed(rt().call(d, "Value", {integer(1)})).boolean);
  EXPECT_EQ(rt().call(d, "Value", {block}).object.get(), block.object.get());
  EXPECT_TRUE(rt().call(d, "HasKey", {str("nAmE")}).boolean);
  EXPECT_FALSE(rt().call(d, "HasKey", {str("1")}).boolean);  // a string is not the number
  EXPECT_EQ(rt().unboxed(rt().call(d, "Lookup", {str("missing"), integer(-4)})).integer, -4);

  // Keys in the order they were first added, the first spelling kept.
  auto keys = rt().arrayElements(rt().call(d, "Keys"));
  ASSERT_EQ(keys.size(), 3u);
  EXPECT_EQ(std::pair(text(rt().unboxed(keys[0])), rt().unboxed(keys[1]).integer), std::pair(std::string("Name"), 1L));
  EXPECT_EQ(text(rt().unboxed(rt().call(d, "Key", {integer(0)}))), "Name");

  rt().call(d, "Remove", {str("NAME")});
  EXPECT_EQ(rt().get(d, "Count").integer, 2);
  EXPECT_EQ(Raised([&] { rt().call(d, "Value", {str("Name")}); }),
            "KeyNotFoundException: the Dictionary has no key \"Name\"");
  EXPECT_THROW(rt().call(d, "Remove", {integer(99)}), host::HostException);
  EXPECT_THROW(rt().call(d, "Key", {integer(2)}), host::HostException);
  auto values = rt().arrayElements(rt().call(d, "Values"));
  ASSERT_EQ(values.size(), 2u);
  EXPECT_EQ(values[1].object.get(), block.object.get());
  rt().call(d, "RemoveAll");
  EXPECT_EQ(rt().get(d, "Count").integer, 0);
}
