// Host exceptions raised by a plugin stay pending until its function returns and are then
// thrown to host code; a platform object thrown out of a plugin is reported, never a crash.
#include "host_fixture.h"

using host::Value;

TEST_F(HostTest, RaisedExceptionsAreThrownAfterTheFunctionReturnsAndThrownPlatformObjectsAreContained) {
  load();
  Value o = rt().newInstance("TestBase");
  {
    auto e = Caught<host::HostException>(
        [&] { rt().call(o, "Fail", {str("OutOfBoundsException"), str("index 5 is too big")}); });
    ASSERT_TRUE(e) << "no exception";
    EXPECT_EQ(std::tuple(e->className(), e->message(), e->errorNumber()),
              std::tuple("OutOfBoundsException", "index 5 is too big", 7));
    ASSERT_TRUE(e->exception());
    EXPECT_TRUE(e->exception().get()->cls->isA(rt().findClass("RuntimeException")));
    EXPECT_FALSE(rt().exceptionPending());
    // The exception object reads like any host object; the plugin reads its Message
    // through REALGetPropValueString.
    const Value object = Value::ofObject(e->exception());
    EXPECT_EQ(std::pair(text(rt().get(object, "Message")), rt().get(object, "ErrorNumber").integer),
              std::pair(std::string("index 5 is too big"), int64_t(7)));
    EXPECT_EQ(text(rt().call(o, "ReadMessage", {Value::ofObject(e->exception())})), "index 5 is too big");
  }
  // A class the host does not know: the plugin falls back to RuntimeException.
  EXPECT_EQ(Raised([&] { rt().call(o, "Fail", {str("NoSuchException"), str("m")}); }), "RuntimeException: m");
  // Every built-in exception class can be raised.
  for (std::string name : {"NilObjectException", "IllegalCastException", "UnsupportedOperationException",
                           "OutOfMemoryException", "OutOfBoundsException", "RuntimeException"})
    EXPECT_EQ(Raised([&] { rt().call(o, "Fail", {str(name.c_str()), Value::nil()}); }), name + ": ");
  // The result of a raising function is dropped.
  EXPECT_THROW(rt().call(o, "FailWithResult"), host::HostException);
  EXPECT_FALSE(rt().exceptionPending());
  // The next call is not affected.
  EXPECT_EQ(rt().call(o, "Add", {integer(1), integer(1)}).integer, 2);
  // Plugin blocks: a nil MemoryBlock raises NilObjectException with the plugin's message.
  auto e = Caught<host::HostException>([&] { rt().call(o, "BlockSum", {Value::nil()}); });
  ASSERT_TRUE(e) << "no exception";
  EXPECT_EQ(std::tuple(e->className(), e->message(), std::string(e->what())),
            std::tuple("NilObjectException", "Memoryblock is nil", "NilObjectException: Memoryblock is nil"));
  // A platform object thrown out of a plugin is reported, never fatal.
  auto thrown = Caught<host::ThrownObject>([&] { rt().call(o, "ThrowPlatform"); });
  ASSERT_TRUE(thrown) << "no exception";
  EXPECT_NE(thrown->object(), nullptr);
  EXPECT_NE(thrown->className().find("String"), std::string::npos) << thrown->className();
  // The host goes on working, and C++ exceptions still travel as before.
  EXPECT_EQ(rt().call(o, "Add", {integer(2), integer(2)}).integer, 4);
  EXPECT_THROW(rt().call(o, "Fail", {str("IllegalCastException"), str("x")}), host::HostException);
  EXPECT_THROW(rt().call(o, "NoSuchMethod"), std::invalid_argument);
  for (int i = 0; i < 3; ++i) EXPECT_THROW(rt().call(o, "ThrowPlatform"), host::ThrownObject);
  // Host code makes exceptions and sets their properties.
  Value made = rt().newInstance("OutOfMemoryException");
  rt().set(made, "Message", str("made by host code"));
  rt().set(made, "ErrorNumber", integer(12));
  EXPECT_EQ(std::pair(text(rt().get(made, "message")), rt().get(made, "errornumber").integer),
            std::pair(std::string("made by host code"), int64_t(12)));
  EXPECT_FALSE(rt().exceptionPending());
  // Platform objects thrown by constructors and destructors are contained.
  size_t objects = rt().liveObjects();
  clearLog();
  // A destructor that throws: reported, and the object is freed all the same.
  { Value fragile = rt().newInstance("TestFragile"); }
  EXPECT_EQ(std::pair(log(), rt().liveObjects()), std::pair(std::string("dtor Fragile"), objects));
  // A class constructor that throws while host code creates the instance.
  rt().callShared("TestBase", "ArmFragile", {Value::ofBoolean(true)});
  EXPECT_THROW(rt().newInstance("TestFragile"), host::ThrownObject);
  EXPECT_EQ(rt().liveObjects(), objects);
  // The same while a plugin creates it: the platform object goes back through the plugin
  // to the host's boundary, and the half-made instance is released on the way.
  EXPECT_THROW(rt().call(o, "MakeFragile"), host::ThrownObject);
  rt().callShared("TestBase", "ArmFragile", {Value::ofBoolean(false)});
  EXPECT_EQ(rt().liveObjects(), objects);
  EXPECT_EQ(rt().call(o, "Add", {integer(1), integer(2)}).integer, 3);
}
