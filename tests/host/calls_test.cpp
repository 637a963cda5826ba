// Member calls through libffi: every parameter and result type, overload choice,
// default values, assignable methods, properties by accessor function and by the
// instance-data marker, shared methods, constants, and the order of constructors and
// destructors along the class hierarchy.
#include "host_fixture.h"

#include <cstring>
#include <tuple>

using host::Value;

TEST_F(HostTest, CallsPassAndReturnEveryTypeChooseOverloadsTakeDefaultsAndReadConstants) {
  load();
  Value o = rt().newInstance("TestBase");
  // Object results come with one reference.
  size_t before = rt().liveObjects();
  {
    Value d = rt().call(o, "MakeDerived");
    ASSERT_TRUE(d.object);
    EXPECT_EQ(rt().classOf(d)->name, "TestDerived");
    EXPECT_EQ(d.object.get()->refCount, 1);
    EXPECT_EQ(rt().liveObjects(), before + 1);
    Value same = rt().call(o, "Self");
    EXPECT_EQ(same.object.get(), o.object.get());
    EXPECT_EQ(o.object.get()->refCount, 2);
  }
  EXPECT_EQ(rt().liveObjects(), before);
  EXPECT_EQ(o.object.get()->refCount, 1);
  // Each parameter and result type; Integers convert to the declared numeric types.
  const struct { const char* member; std::vector<Value> args; std::string result; } calls[] = {
      {"Add", {integer(40), integer(2)}, "Integer 42"}, {"Add", {integer(-10), integer(4)}, "Integer -6"},
      {"Add", {integer(int64_t(1) << 40), integer(1)}, "Integer 1099511627777"},
      {"AddInt32", {Value::ofInt32(-7), Value::ofInt32(3)}, "Int32 -4"},
      {"AddInt64", {integer(int64_t(3) << 50), integer(5)}, "Int64 3377699720527877"},
      {"Half", {Value::ofDouble(5.0)}, "Double 2.5"}, {"HalfSingle", {Value::ofSingle(3.0f)}, "Single 1.5"},
      {"Negate", {Value::ofBoolean(true)}, "Boolean false"}, {"Negate", {Value::ofBoolean(false)}, "Boolean true"},
      {"InvertColor", {Value::ofColor(0x00FF00)}, "Color ff00ff"}, {"Describe", {str("abc")}, "String <abc>"},
      {"Describe", {Value::nil()}, "String <>"},  // Nil is the empty string
      // Arguments of every register class in one call, in order.
      {"Mixed", {Value::ofInt32(-3), Value::ofDouble(2.25), Value::ofSingle(0.5f), Value::ofBoolean(true),
                 integer(int64_t(1) << 33), str("s"), o, integer(9)},
       "String -3|2.250|0.500|1|8589934592|s|object|9"},
      {"Mixed",
       {integer(1), integer(2), integer(3), Value::ofBoolean(false), integer(4), str(""), Value::nil(), integer(5)},
       "String 1|2.000|3.000|0|4||nil|5"},
      // Missing arguments take their defaults (42 is the constant Answer).
      {"Add", {integer(1)}, "Integer 6"}, {"Defaults", {}, "String 42|hi, there|1.50|1|nil"},
      {"Defaults", {integer(1), str("x")}, "String 1|x|1.50|1|nil"},
      {"Defaults", {integer(1), str("x"), integer(3), Value::ofBoolean(false), o}, "String 1|x|3.00|0|object"},
  };
  for (const auto& c : calls) EXPECT_EQ(shown(rt().call(o, c.member, c.args)), c.result) << c.member;

  char buffer[8];
  Value p = rt().call(o, "OffsetPtr", {Value::ofPtr(buffer), integer(3)});
  EXPECT_EQ(p.kind, Value::Kind::Ptr);
  EXPECT_EQ(p.pointer, buffer + 3);
  // A MemoryBlock passed for a Ptr gives the address of its bytes.
  Value block = rt().memoryBlock("abcd", 4);
  EXPECT_EQ(*static_cast<char*>(rt().call(o, "OffsetPtr", {block, integer(1)}).pointer), 'b');
  // Constants have their declared types (names without case); subclasses inherit them.
  for (const auto& [cls, name, value] :
       {std::tuple{"TestBase", "Answer", "Integer 42"}, {"TestBase", "pi", "Double 3.25"}, {"TestBase", "Greeting", "String hello"},
        {"TestBase", "Enabled", "Boolean true"}, {"TestLeaf", "Answer", "Integer 42"}})
    EXPECT_EQ(shown(rt().constant(cls, name)), value) << name;
  EXPECT_THROW(rt().constant("TestBase", "Nothing"), std::invalid_argument);
  // Overloads are chosen by argument types.
  Value derived = rt().newInstance("TestDerived");
  Value leaf = rt().newInstance("TestLeaf", {integer(1)});
  // Int32 and Single take the nearest numeric type; the closest superclass wins.
  for (const auto& [argument, kind] : std::vector<std::pair<Value, const char*>>{
           {integer(1), "integer"}, {Value::ofInt32(1), "integer"}, {Value::ofDouble(1), "double"}, {Value::ofSingle(1), "double"},
           {str("x"), "string"}, {Value::ofBoolean(true), "boolean"}, {o, "TestBase"}, {derived, "TestDerived"}, {leaf, "TestDerived"}})
    EXPECT_EQ(text(rt().call(o, "Kind", {argument})), kind) << kind;
  // A subclass's member hides the superclass member with the same parameters.
  EXPECT_EQ(text(rt().call(derived, "Kind", {derived})), "TestDerived (in TestDerived)");
  EXPECT_EQ(text(rt().call(derived, "Kind", {o})), "TestBase");
  // Nil fits the TestBase and TestDerived overloads equally: ambiguous, as in host code ...
  EXPECT_THROW(rt().call(o, "Kind", {Value::nil()}), std::invalid_argument);
  // ... unless the exact declaration is named.
  EXPECT_EQ(text(rt().call(o, "Kind(x as TestDerived) as String", {Value::nil()})), "TestDerived");
  EXPECT_EQ(text(rt().call(o, "kind( X AS string )  as STRING", {Value::nil()})), "string");
  // Shared overloads too.
  EXPECT_EQ(rt().callShared("TestBase", "Twice", {integer(21)}).integer, 42);
  EXPECT_DOUBLE_EQ(rt().callShared("TestBase", "Twice", {Value::ofDouble(1.25)}).real, 2.5);
  // No fit at all.
  for (const auto& [member, arguments] : std::vector<std::pair<const char*, std::vector<Value>>>{
           {"Kind", {}}, {"Add", {str("1")}}, {"Add", {integer(1), integer(2), integer(3)}}, {"NoSuchMethod", {}}})
    EXPECT_THROW(rt().call(o, member, arguments), std::invalid_argument) << member;
  EXPECT_THROW(rt().callShared("NoSuchClass", "Twice", {integer(1)}), std::invalid_argument);
  EXPECT_THROW(rt().call(o, "Kind(x as Variant) as String", {Value::nil()}), std::invalid_argument);
  // Calls on Nil raise NilObjectException; on a value that is no object, they do not fit.
  EXPECT_EQ(Raised([&] { rt().call(Value::nil(), "Add", {integer(1)}); }).rfind("NilObjectException: ", 0), 0u);
  EXPECT_THROW(rt().call(integer(1), "Add"), std::invalid_argument);
}

TEST_F(HostTest, PropertiesReadAndWriteThroughAccessorsMarkersAssignableMethodsAndPlugins) {
  load();
  Value o = rt().newInstance("TestBase");
  EXPECT_EQ(shown(rt().get(o, "Scale")), "Double 1");  // set by the class constructor
  EXPECT_EQ(shown(rt().get(o, "Big")), "Int64 7000");  // the getter receives its param
  // Marker properties read and write the instance data at their offset.
  EXPECT_EQ(rt().get(o, "Handle").integer, 0);
  rt().set(o, "handle", integer(0x1234));
  EXPECT_EQ(rt().get(o, "HANDLE").integer, 0x1234);
  intptr_t stored;
  std::memcpy(&stored, reinterpret_cast<unsigned char*>(o.object.get()) + 24, sizeof stored);
  EXPECT_EQ(stored, 0x1234);
  // A String marker property holds a reference of its own.
  {
    Value tag = str("tagged");
    rt().set(o, "Tag", tag);
    EXPECT_EQ(tag.string.get()->refCount, 2);
  }
  EXPECT_EQ(text(rt().get(o, "Tag")), "tagged");
  // An object marker property too; setting the object itself must not free it.
  {
    Value other = rt().newInstance("TestDerived");
    rt().set(o, "Partner", other);
    EXPECT_EQ(other.object.get()->refCount, 2);
  }
  EXPECT_EQ(rt().classOf(rt().get(o, "Partner"))->name, "TestDerived");
  // Each property set and read back: markers and accessor functions of each type.
  const struct {
    const char* name;
    Value value;
    std::string after;
  } sets[] = {{"Tag", str("again"), "String again"},       {"Partner", Value::nil(), "nil"},
              {"Scale", Value::ofDouble(2.5), "Double 2.5"}, {"Ratio", Value::ofDouble(0.25), "Single 0.25"},
              {"Count", integer(-9), "Int32 -9"},          {"Flag", Value::ofBoolean(true), "Boolean true"},
              {"Name", str("12345"), "String name:5"}};
  for (const auto& s : sets) {
    rt().set(o, s.name, s.value);
    EXPECT_EQ(shown(rt().get(o, s.name)), s.after) << s.name;
  }
  // Read-only, of the wrong type, unknown.
  EXPECT_THROW(rt().set(o, "Big", integer(1)), std::invalid_argument);
  EXPECT_THROW(rt().set(o, "Count", str("x")), std::invalid_argument);
  EXPECT_THROW(rt().set(o, "Partner", str("no")), std::invalid_argument);
  EXPECT_THROW(rt().get(o, "NoSuchProperty"), std::invalid_argument);
  // A method without arguments reads like a property.
  EXPECT_EQ(rt().get(o, "Self").object.get(), o.object.get());

  // Setter-only form: "Item(index as Integer, assigns value as String)".
  rt().assign(o, "Item", {integer(3)}, str("abcd"));
  EXPECT_EQ(rt().get(o, "Handle").integer, 304);
  EXPECT_THROW(rt().call(o, "Item", {integer(3)}), std::invalid_argument);
  // Getter with a setter function: "Slot(index as Integer) as Integer".
  rt().assign(o, "Slot", {integer(2)}, integer(77));
  EXPECT_EQ(rt().call(o, "Slot", {integer(2)}).integer, 77);
  EXPECT_EQ(rt().call(o, "Slot", {integer(1)}).integer, 0);
  EXPECT_THROW(rt().assign(o, "Slot", {integer(2)}, str("no")), std::invalid_argument);
  EXPECT_THROW(rt().assign(o, "Add", {integer(2)}, integer(1)), std::invalid_argument);
  // Plugins read and write properties by name.
  rt().set(o, "Count", integer(3));
  rt().set(o, "Scale", Value::ofDouble(4));
  rt().set(o, "Flag", Value::ofBoolean(true));
  rt().set(o, "Ratio", Value::ofSingle(5));
  rt().set(o, "Handle", integer(6));
  // Six entry points answer true, the unknown property false; Scale is doubled.
  EXPECT_EQ(rt().call(o, "ReadNumbers", {o}).integer, 6 * 1000000 + 3 * 10000 + 4 * 100 + 10 + 5 + 6);
  EXPECT_DOUBLE_EQ(rt().get(o, "Scale").real, 8);
}

TEST_F(HostTest, ConstructorsRunRootFirstAndDestructorsMostDerivedFirst) {
  load();
  clearLog();
  {
    Value leaf = rt().newInstance("TestLeaf", {integer(5)});
    EXPECT_EQ(log(), "ctor Base,ctor Derived,ctor Leaf,Constructor(5)");
    EXPECT_EQ(rt().get(leaf, "Handle").integer, 5);
    EXPECT_EQ(rt().call(leaf, "Extra").integer, 7);
    clearLog();
  }
  EXPECT_EQ(log(), "dtor Leaf,dtor Derived,dtor Base");
  clearLog();
  {
    Value leaf = rt().newInstance("TestLeaf", {str("abc")});
    EXPECT_EQ(rt().get(leaf, "Handle").integer, 3);
    // Constructors are inherited: TestLeaf's own take arguments, TestDerived's Constructor() none.
    EXPECT_EQ(rt().get(rt().newInstance("TestLeaf"), "Handle").integer, -1);
    EXPECT_THROW(rt().newInstance("TestBase", {integer(1)}), std::invalid_argument);
    EXPECT_THROW(rt().newInstance("NoSuchClass"), std::invalid_argument);
  }
  clearLog();
  {
    // The inherited Constructor() of TestDerived runs after the class constructors.
    Value derived = rt().newInstance("TestDerived");
    EXPECT_EQ(log(), "ctor Base,ctor Derived,Constructor()");
    EXPECT_EQ(rt().get(derived, "Handle").integer, -1);
    clearLog();
    // Instances a plugin makes get the class constructors only.
    Value made = rt().call(derived, "MakeDerived");
    EXPECT_EQ(log(), "ctor Base,ctor Derived");
    EXPECT_EQ(rt().get(made, "Handle").integer, 0);
  }
  // Instance data starts zero-filled.
  Value base = rt().newInstance("TestBase");
  auto* bytes = reinterpret_cast<unsigned char*>(base.object.get());
  host::ClassInfo* cls = rt().findClass("TestBase");
  for (size_t i = 24; i < 24 + cls->dataSize; ++i) {
    if (i >= 40 && i < 48) continue;  // Scale (bytes 40-47) is set by the constructor
    EXPECT_EQ(bytes[i], 0) << i;
  }
  EXPECT_EQ(base.object.get()->classWord, nullptr);
}
