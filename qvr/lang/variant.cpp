// Variant in the language: a value declared Variant has Variant's members whatever it
// holds (Type, IntegerValue, StringValue, ObjectValue, IsNull, ...), and the class
// answers its type constants (Variant.TypeInteger, ...) with the codes VarType returns.
#include "interpreter.h"

#include "lexer.h"
#include "text.h"

#include <cstdlib>
#include <map>

namespace qvrlang {

namespace {

const std::map<std::string, int64_t>& typeCodes() {
  static const std::map<std::string, int64_t> kCodes = {
      {"typenil", 0},       {"typeinteger", 3},    {"typeint32", 2},     {"typeint64", 3},   {"typesingle", 4},
      {"typedouble", 5},    {"typecurrency", 6},   {"typedate", 7},      {"typestring", 8},  {"typeobject", 9},
      {"typeboolean", 11},  {"typecolor", 16},     {"typecfstringref", 21}, {"typeostype", 23}, {"typeptr", 26},
      {"typecstring", 31},  {"typewstring", 32},   {"typestructure", 36}, {"typetext", 37},  {"typearray", 0x1000},
  };
  return kCodes;
}

// VarType's code of an array's element type.
int64_t elementCode(const Type& t) {
  switch (t.kind) {
    case Type::Kind::Integer: return t.integerBits == 32 ? 2 : 3;
    case Type::Kind::Double: return t.integerBits == 32 ? 4 : 5;
    case Type::Kind::String: return 8;
    case Type::Kind::Boolean: return 11;
    case Type::Kind::Color: return 16;
    case Type::Kind::Ptr: return 26;
    case Type::Kind::Variant: return 12;
    default: return 9;
  }
}

}  // namespace

Value Interpreter::variantConstant(const std::string& name, Position where) {
  auto it = typeCodes().find(lowered(name));
  if (it == typeCodes().end()) fail(where, "Variant has no constant \"" + name + "\"");
  return host::Value::ofInteger(it->second);
}

Value Interpreter::variantMember(const Value& value, const std::string& name, const std::vector<Value>& args, Position where) {
  const std::string n = lowered(name);
  if (!args.empty()) fail(where, "Variant." + name + " takes no arguments");
  Value plain = value;
  plain.variant = false;
  auto mismatch = [&](const char* wanted) {
    raise("TypeMismatchException", std::string("the Variant holds ") + withArticle(typeNameOf(plain)) + ", not " + wanted, where);
  };
  const bool isObject = plain.isObject() || plain.isArray();
  auto number = [&]() -> double {
    if (isObject) mismatch("a number");
    if (plain.isString()) return std::strtod(text(plain).c_str(), nullptr);
    if (plain.isBoolean()) return plain.v.boolean ? 1 : 0;
    if (plain.isColor()) return static_cast<double>(plain.v.integer);
    return plain.isNil() ? 0 : plain.real();
  };
  auto integer = [&]() -> int64_t {
    if (plain.isInteger() || plain.isColor()) return plain.v.integer;
    if (plain.isString()) return std::strtoll(text(plain).c_str(), nullptr, 10);
    return Value(host::Value::ofDouble(number())).integer();
  };
  if (n == "type") {
    if (plain.isArray()) return host::Value::ofInteger(0x1000 | elementCode(plain.array->elementType));
    return hostCall(where, [&] { return rt_.callGlobal("VarType", {plain.v}); });
  }
  if (n == "isnull") return host::Value::ofBoolean(plain.isNil());
  if (n == "isarray") return host::Value::ofBoolean(plain.isArray());
  if (n == "arrayelementtype") {
    if (!plain.isArray()) mismatch("an array");
    return host::Value::ofInteger(elementCode(plain.array->elementType));
  }
  if (n == "isnumeric") {
    if (plain.isNumber()) return host::Value::ofBoolean(true);
    if (!plain.isString()) return host::Value::ofBoolean(false);
    const std::string s = text(plain);
    char* end = nullptr;
    std::strtod(s.c_str(), &end);
    return host::Value::ofBoolean(!s.empty() && end && *end == '\0');
  }
  if (n == "integervalue" || n == "int64value") return host::Value::ofInteger(integer());
  if (n == "int32value") return host::Value::ofInteger(static_cast<int32_t>(integer()));
  if (n == "doublevalue") return host::Value::ofDouble(number());
  if (n == "singlevalue") return host::Value::ofDouble(static_cast<float>(number()));
  if (n == "colorvalue") {
    if (plain.isColor()) return Value(plain.v);
    return host::Value::ofColor(static_cast<uint32_t>(integer()));
  }
  if (n == "booleanvalue") {
    if (isObject) mismatch("a Boolean");
    if (plain.isBoolean()) return Value(plain.v);
    if (plain.isString()) return host::Value::ofBoolean(lowered(text(plain)) == "true");
    return host::Value::ofBoolean(number() != 0);
  }
  if (n == "stringvalue") {
    if (isObject && !isDate(rt_, plain)) mismatch("a String");
    if (plain.isString()) return Value(plain.v);
    return string(variantText(rt_, plain));
  }
  if (n == "objectvalue") {
    if (plain.isArray()) mismatch("an object");
    return plain.isObject() ? Value(plain.v) : Value(host::Value::nil());
  }
  if (n == "datevalue") {
    if (plain.isNil()) return host::Value::nil();
    host::ClassInfo* date = rt_.findClass("Date");
    if (!plain.isObject() || !date || !rt_.classOf(plain.v)->isA(date)) mismatch("a Date");
    return Value(plain.v);
  }
  fail(where, "Variant has no member \"" + name + "\"");
}

}  // namespace qvrlang
