// The operators: Integer arithmetic stays Integer (wrapping at 64 bits) except /, which
// is always floating; a Double on either side makes a Double. + joins strings. Strings
// compare without regard to case. And, Or, Xor and Not are logical on Booleans and
// bitwise on Integers. Is compares object identity.
#include "interpreter.h"

#include "lexer.h"
#include "text.h"

#include <algorithm>

#include <cmath>

namespace qvrlang {

const char* symbolOf(Op op) {
  switch (op) {
    case Op::Add: return "+";
    case Op::Subtract: return "-";
    case Op::Multiply: return "*";
    case Op::Divide: return "/";
    case Op::IntegerDivide: return "\\";
    case Op::Modulo: return "Mod";
    case Op::Power: return "^";
    case Op::Equal: return "=";
    case Op::NotEqual: return "<>";
    case Op::Less: return "<";
    case Op::LessEqual: return "<=";
    case Op::Greater: return ">";
    case Op::GreaterEqual: return ">=";
    case Op::And: return "And";
    case Op::Or: return "Or";
    case Op::Xor: return "Xor";
    case Op::Not: return "Not";
    case Op::Negate: return "-";
    case Op::Is: return "Is";
  }
  return "?";
}

namespace {

int64_t wrapped(uint64_t v) { return static_cast<int64_t>(v); }

host::Value boolean(bool b) { return host::Value::ofBoolean(b); }

bool ordered(Op op, int c) {
  switch (op) {
    case Op::Equal: return c == 0;
    case Op::NotEqual: return c != 0;
    case Op::Less: return c < 0;
    case Op::LessEqual: return c <= 0;
    case Op::Greater: return c > 0;
    default: return c >= 0;
  }
}

bool hasOperatorCompare(const host::ClassInfo* cls) {
  for (const host::ClassInfo* c = cls; c; c = c->superclass)
    for (const host::MethodInfo& m : c->methods)
      if (lowered(m.declaration.name) == "operator_compare") return true;
  return false;
}

bool isObjectLike(const Value& v) { return !v.isArray() && (v.isNil() || v.v.kind == host::Value::Kind::Object); }

}  // namespace

bool Interpreter::equal(const Value& a, const Value& b, Position where) {
  return applyBinary(Op::Equal, a, b, where).v.boolean;
}

Value Interpreter::applyBinary(Op op, const Value& a, const Value& b, Position where) {
  auto mismatch = [&]() -> Value {
    fail(where, std::string("the operator ") + symbolOf(op) + " cannot be used with " + withArticle(typeNameOf(a)) + " and " + withArticle(typeNameOf(b)));
  };
  if (a.isArray() || b.isArray()) {
    if ((op == Op::Is || op == Op::Equal || op == Op::NotEqual) && (a.isArray() || a.isNil()) && (b.isArray() || b.isNil())) {
      bool same = a.array == b.array;
      return boolean(op == Op::NotEqual ? !same : same);
    }
    return mismatch();
  }
  switch (op) {
    case Op::Add:
      if (a.isString() && b.isString()) {
        checkStringSize((a.v.string ? size_t(a.v.string.get()->length) : 0) + (b.v.string ? size_t(b.v.string.get()->length) : 0), where);
        // Same encoding: join the bytes; otherwise both as UTF-8.
        if (rt_.encoding(a.v) == rt_.encoding(b.v) && a.v.string && b.v.string)
          return Value(rt_.string(rt_.bytes(a.v) + rt_.bytes(b.v), rt_.encoding(a.v)));
        return string(text(a) + text(b));
      }
      if ((a.isString() && b.variant) || (a.variant && b.isString()))
        return string(variantText(rt_, a) + variantText(rt_, b));
      [[fallthrough]];
    case Op::Subtract:
    case Op::Multiply:
      if (!a.isNumber() || !b.isNumber()) return mismatch();
      if (a.isInteger() && b.isInteger()) {
        uint64_t x = static_cast<uint64_t>(a.integer()), y = static_cast<uint64_t>(b.integer());
        return host::Value::ofInteger(wrapped(op == Op::Add ? x + y : op == Op::Subtract ? x - y : x * y));
      }
      return host::Value::ofDouble(op == Op::Add ? a.real() + b.real() : op == Op::Subtract ? a.real() - b.real() : a.real() * b.real());
    case Op::Divide:
      if (!a.isNumber() || !b.isNumber()) return mismatch();
      return host::Value::ofDouble(a.real() / b.real());
    case Op::IntegerDivide:
    case Op::Modulo: {
      if (!a.isNumber() || !b.isNumber()) return mismatch();
      if (op == Op::Modulo && (a.isReal() || b.isReal())) return host::Value::ofDouble(std::fmod(a.real(), b.real()));
      int64_t x = a.integer(), y = b.integer();
      if (y == 0) raise("DivisionByZeroException", op == Op::Modulo ? "Mod by zero" : "integer division by zero", where);
      if (x == INT64_MIN && y == -1) return host::Value::ofInteger(op == Op::Modulo ? 0 : INT64_MIN);
      return host::Value::ofInteger(op == Op::Modulo ? x % y : x / y);
    }
    case Op::Power:
      if (!a.isNumber() || !b.isNumber()) return mismatch();
      return host::Value::ofDouble(std::pow(a.real(), b.real()));
    case Op::Equal:
    case Op::NotEqual:
    case Op::Less:
    case Op::LessEqual:
    case Op::Greater:
    case Op::GreaterEqual: {
      if (a.isNumber() && b.isNumber()) {
        if (a.isInteger() && b.isInteger()) {
          int64_t x = a.integer(), y = b.integer();
          return boolean(ordered(op, x < y ? -1 : x > y ? 1 : 0));
        }
        double x = a.real(), y = b.real();
        if (std::isnan(x) || std::isnan(y)) return boolean(op == Op::NotEqual);
        return boolean(ordered(op, x < y ? -1 : x > y ? 1 : 0));
      }
      if ((a.isString() || a.variant) && (b.isString() || b.variant) && (a.isString() || b.isString()))
        return boolean(ordered(op, compareText(variantText(rt_, a), variantText(rt_, b))));
      const bool equality = op == Op::Equal || op == Op::NotEqual;
      if (equality && a.isBoolean() && b.isBoolean()) return boolean(ordered(op, a.v.boolean == b.v.boolean ? 0 : 1));
      if (equality && a.isColor() && b.isColor()) return boolean(ordered(op, a.v.integer == b.v.integer ? 0 : 1));
      // Objects of a class with Operator_Compare compare by it (two TextEncodings of the
      // same encoding are equal); others only by identity.
      if (a.isObject() && b.isObject() && hasOperatorCompare(rt_.classOf(a.v))) {
        Value c = hostCall(where, [&] { return rt_.call(a.v, "Operator_Compare", {b.v}); });
        return boolean(ordered(op, c.isInteger() ? static_cast<int>(std::clamp<int64_t>(c.integer(), -1, 1)) : 1));
      }
      if (equality && isObjectLike(a) && isObjectLike(b))
        return boolean(ordered(op, a.v.object.get() == b.v.object.get() ? 0 : 1));
      // A Ptr compares by its address, Nil being none.
      const bool pointers = (a.v.kind == host::Value::Kind::Ptr || a.isNil()) && (b.v.kind == host::Value::Kind::Ptr || b.isNil());
      if (equality && pointers && !a.isArray() && !b.isArray()) {
        void* x = a.isNil() ? nullptr : a.v.pointer;
        void* y = b.isNil() ? nullptr : b.v.pointer;
        return boolean(ordered(op, x == y ? 0 : 1));
      }
      return mismatch();
    }
    case Op::Is:
      if (!isObjectLike(a) || !isObjectLike(b)) return mismatch();
      return boolean(a.v.object.get() == b.v.object.get());
    case Op::And:
    case Op::Or:
    case Op::Xor:
      if (a.isBoolean() && b.isBoolean()) {
        bool x = a.v.boolean, y = b.v.boolean;
        return boolean(op == Op::And ? (x && y) : op == Op::Or ? (x || y) : (x != y));
      }
      if (a.isInteger() && b.isInteger()) {
        int64_t x = a.integer(), y = b.integer();
        return host::Value::ofInteger(op == Op::And ? (x & y) : op == Op::Or ? (x | y) : (x ^ y));
      }
      return mismatch();
    default:
      return mismatch();
  }
}

}  // namespace qvrlang
