// Values of the language: host values (numbers, strings, colours, objects) and the
// language's own arrays, the declared types of variables and how a value is converted
// to a declared type, or refused with a type error.
#pragma once

#include "ast.h"

#include <host/runtime.h>

#include <memory>
#include <string>
#include <vector>

namespace qvrlang {

struct ArrayObject;

// A value: a host value, or (when array is set) a language array, shared by reference
// as the language's arrays are.
struct Value {
  host::Value v;
  std::shared_ptr<ArrayObject> array;
  bool variant = false;  // read from a Variant: converts to a String where one is wanted

  Value() = default;
  Value(host::Value value) : v(std::move(value)) {}  // NOLINT: values pass through freely
  bool isArray() const { return array != nullptr; }
  bool isNil() const { return !array && v.isNil(); }
  bool isObject() const { return !array && v.kind == host::Value::Kind::Object && v.object; }
  bool isString() const { return !array && v.kind == host::Value::Kind::String; }
  bool isBoolean() const { return !array && v.kind == host::Value::Kind::Boolean; }
  bool isInteger() const;
  bool isReal() const;
  bool isNumber() const { return isInteger() || isReal(); }
  bool isColor() const { return !array && v.kind == host::Value::Kind::Color; }
  int64_t integer() const;  // integers; reals truncated
  double real() const;
};

// A declared type, resolved.
struct Type {
  enum class Kind { Integer, Double, Boolean, String, Color, Ptr, Variant, Object };
  Kind kind = Kind::Variant;
  std::string name;       // as written, for messages and the host ("Int32", "NSImageQVR")
  int integerBits = 64;   // Integer kinds: the width values are kept in
  bool isUnsigned = false;
  bool isArray = false;
  host::ClassInfo* cls = nullptr;  // Object: the class (null: any object)

  std::string describe() const { return isArray ? name + "()" : name; }
  Type element() const {
    Type t = *this;
    t.isArray = false;
    return t;
  }
};

struct ArrayObject {
  Type elementType;
  std::vector<Value> items;
};

// A host exception on its way up the program: the exception object and where it was
// raised (a Raise statement or the expression whose host call raised it).
struct Raised {
  Value exception;
  Position where;
  // The program's methods it passed through on its way up: name and calling line.
  std::vector<std::pair<std::string, int>> trace;
};

// "uncaught ClassName: message", as a run reports an exception nothing caught.
std::string uncaught(host::Runtime& rt, const Raised& raised);

// Quit: the program ends here with this exit status.
struct Quit {
  int status;
};

// Raises a host exception of the class (RuntimeException when the runtime has no such
// class) with the message.
[[noreturn]] void raiseException(host::Runtime& rt, const std::string& className, const std::string& message, Position where);

class Strings;

// Looks a written type up: the language's value types or a class the runtime holds.
Type resolveType(host::Runtime& rt, const TypeName& written);
Type resolveType(host::Runtime& rt, const std::string& name, bool isArray, Position where);

// The value a variable of this type starts with.
Value defaultValue(host::Runtime& rt, const Type& type);

// What a value is, in the words a type error uses ("Integer", "String", "NSImageQVR").
std::string typeNameOf(const Value& value);

// A type's name with its article, as a sentence says it: "an Integer", "a String";
// Nil stays "Nil".
std::string withArticle(const std::string& typeName);

// The constant a class of the host keeps for Class.Group.Name (Picture.Formats.PNG: the
// constant "Formats.PNG"), or "" when it has none.
std::string groupedConstant(const host::ClassInfo* cls, const std::string& group, const std::string& name);

// Converts a value for a variable, parameter or result of the type; a value that does
// not fit is a type error at where ("what" names the receiving thing), or, for a value
// read from a Variant, a TypeMismatchException. A String and a MemoryBlock convert into
// each other.
Value convertTo(host::Runtime& rt, const Type& type, const Value& value, Position where, const std::string& what);

// Whether convertTo would accept the value (used to choose among overloads).
bool fits(const Type& type, const Value& value);

Value makeArray(const Type& elementType, std::vector<Value> items = {});

// The type a Ptr member answers ("Integer", "Double", ...), or null for no such member
// (pointers.cpp).
const char* pointerMemberType(const std::string& name);

}  // namespace qvrlang
