// Ptr's typed members: p.Byte(offset), p.Int32(offset), p.Double(offset), p.CString(offset),
// ... read and set in this machine's byte order at an offset from the address. Memory is
// reached through the system's copy between address spaces, which honours the pages'
// protection, so a pointer to nothing raises instead of ending the process.
#include "interpreter.h"

#include "lexer.h"

#include <sys/uio.h>
#include <unistd.h>

#include <cstring>

namespace qvrlang {

namespace {

struct PointerMember {
  const char* name;
  int bytes;       // 0: a NUL-terminated string
  char kind;       // i signed, u unsigned, f floating, b Boolean, p Ptr, s String
};

const PointerMember kMembers[] = {
    {"byte", 1, 'u'},  {"uint8", 1, 'u'},  {"int8", 1, 'i'},    {"int16", 2, 'i'},  {"uint16", 2, 'u'},
    {"short", 2, 'i'}, {"ushort", 2, 'u'}, {"int32", 4, 'i'},   {"uint32", 4, 'u'}, {"long", 4, 'i'},
    {"int64", 8, 'i'}, {"uint64", 8, 'u'}, {"single", 4, 'f'},  {"double", 8, 'f'}, {"boolean", 1, 'b'},
    {"ptr", sizeof(void*), 'p'},          {"cstring", 0, 's'},
};

const PointerMember* memberNamed(const std::string& lowerName) {
  for (const PointerMember& m : kMembers)
    if (lowerName == m.name) return &m;
  return nullptr;
}

bool copyMemory(void* local, uintptr_t remote, size_t n, bool write) {
  iovec here{local, n}, there{reinterpret_cast<void*>(remote), n};
  ssize_t done = write ? process_vm_writev(getpid(), &here, 1, &there, 1, 0) : process_vm_readv(getpid(), &here, 1, &there, 1, 0);
  return done == static_cast<ssize_t>(n);
}

}  // namespace

const char* pointerMemberType(const std::string& name) {
  const PointerMember* m = memberNamed(lowered(name));
  if (!m) return nullptr;
  switch (m->kind) {
    case 'f': return "Double";
    case 'b': return "Boolean";
    case 'p': return "Ptr";
    case 's': return "String";
    default: return "Integer";
  }
}

// The address a member of p reaches, after checking its one Integer offset.
uintptr_t Interpreter::pointerAddress(const Value& p, const std::string& name, const std::vector<Value>& args, Position where) {
  if (args.size() != 1 || !args[0].isInteger()) fail(where, "Ptr." + name + " takes one Integer offset");
  if (!p.v.pointer) raise("NilObjectException", "Ptr." + name + " used on a Ptr that is Nil", where);
  return reinterpret_cast<uintptr_t>(p.v.pointer) + static_cast<uintptr_t>(args[0].integer());
}

bool Interpreter::pointerMember(const Value& p, const std::string& name, const std::vector<Value>& args, Position where, Value& out) {
  const PointerMember* m = memberNamed(lowered(name));
  if (!m) return false;
  const uintptr_t address = pointerAddress(p, name, args, where);
  auto unreadable = [&]() { raise("OutOfBoundsException", "Ptr." + name + ": no memory to read at that address", where); };
  if (m->kind == 's') {
    std::string text;
    for (char c;; text += c)
      if (!copyMemory(&c, address + text.size(), 1, false)) unreadable();
      else if (c == '\0' || text.size() >= (size_t(1) << 24)) break;
    out = string(text);
    return true;
  }
  uint64_t raw = 0;
  if (!copyMemory(&raw, address, size_t(m->bytes), false)) unreadable();
  const int shift = 64 - 8 * m->bytes;
  switch (m->kind) {
    case 'i': out = Value(host::Value::ofInteger(shift ? static_cast<int64_t>(raw << shift) >> shift : static_cast<int64_t>(raw))); break;
    case 'f': {
      double d;
      if (m->bytes == 4) {
        float f;
        std::memcpy(&f, &raw, 4);
        d = f;
      } else {
        std::memcpy(&d, &raw, 8);
      }
      out = Value(host::Value::ofDouble(d));
      break;
    }
    case 'b': out = Value(host::Value::ofBoolean(raw != 0)); break;
    case 'p': out = Value(host::Value::ofPtr(reinterpret_cast<void*>(static_cast<uintptr_t>(raw)))); break;
    default: out = Value(host::Value::ofInteger(static_cast<int64_t>(raw))); break;
  }
  return true;
}

void Interpreter::setPointerMember(const Value& p, const std::string& name, const std::vector<Value>& args, const Value& value, Position where) {
  const PointerMember* m = memberNamed(lowered(name));
  if (!m) fail(where, "a Ptr has no member \"" + name + "\"");
  const uintptr_t address = pointerAddress(p, name, args, where);
  std::string bytes;
  if (m->kind == 's') {
    bytes = stringArgument(std::vector<Value>{value}, 0, ("Ptr." + name).c_str(), where);
    bytes += '\0';
  } else {
    uint64_t raw = 0;
    if (m->kind == 'b') {
      if (!value.isBoolean()) fail(where, "Ptr." + name + " takes a Boolean, not " + withArticle(typeNameOf(value)));
      raw = value.v.boolean;
    } else if (m->kind == 'p') {
      if (value.v.kind != host::Value::Kind::Ptr && !value.isNil()) fail(where, "Ptr." + name + " takes a Ptr, not " + withArticle(typeNameOf(value)));
      raw = reinterpret_cast<uintptr_t>(value.isNil() ? nullptr : value.v.pointer);
    } else if (!value.isNumber()) {
      fail(where, "Ptr." + name + " takes a number, not " + withArticle(typeNameOf(value)));
    } else if (m->kind == 'f' && m->bytes == 4) {
      const float f = static_cast<float>(value.real());
      std::memcpy(&raw, &f, 4);
    } else if (m->kind == 'f') {
      const double d = value.real();
      std::memcpy(&raw, &d, 8);
    } else {
      raw = static_cast<uint64_t>(value.isInteger() ? value.integer() : static_cast<int64_t>(value.real()));
    }
    bytes.assign(reinterpret_cast<const char*>(&raw), size_t(m->bytes));
  }
  if (!copyMemory(bytes.data(), address, bytes.size(), true))
    raise("OutOfBoundsException", "Ptr." + name + ": no memory to write at that address", where);
}

}  // namespace qvrlang
