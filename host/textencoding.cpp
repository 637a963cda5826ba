// TextEncoding and the Encodings module: the encodings a host string can carry, by the
// platform's encoding code, with their internet names; ConvertEncoding, DefineEncoding,
// Encoding and GetTextEncoding, the global functions host programs change strings with.
#include "native_members.h"

#include <iconv.h>

#include <cerrno>
#include <cstring>
#include <strings.h>

namespace host {

namespace {

#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
#define QVR_NATIVE_UTF16 "UTF-16LE"
#define QVR_NATIVE_UTF32 "UTF-32LE"
#else
#define QVR_NATIVE_UTF16 "UTF-16BE"
#define QVR_NATIVE_UTF32 "UTF-32BE"
#endif

struct KnownEncoding {
  const char* name;          // the Encodings member
  uint32_t code;             // base | variant << 16 | format << 26
  const char* internetName;  // what InternetName answers
  const char* iconvName;
};

const KnownEncoding kEncodings[] = {
    {"UTF8", kEncodingUTF8, "UTF-8", "UTF-8"},
    {"UTF16", kEncodingUTF16, "UTF-16", QVR_NATIVE_UTF16},
    {"UTF16BE", 0x10000100, "UTF-16BE", "UTF-16BE"},
    {"UTF16LE", 0x14000100, "UTF-16LE", "UTF-16LE"},
    {"UTF32", 0x0C000100, "UTF-32", QVR_NATIVE_UTF32},
    {"UTF32BE", 0x18000100, "UTF-32BE", "UTF-32BE"},
    {"UTF32LE", 0x1C000100, "UTF-32LE", "UTF-32LE"},
    {"ASCII", kEncodingASCII, "US-ASCII", "ASCII"},
    {"MacRoman", kEncodingMacRoman, "macintosh", "MACINTOSH"},
    {"ISOLatin1", 0x0201, "ISO-8859-1", "ISO-8859-1"},
    {"ISOLatin2", 0x0202, "ISO-8859-2", "ISO-8859-2"},
    {"ISOLatin9", 0x020F, "ISO-8859-15", "ISO-8859-15"},
    {"WindowsLatin1", 0x0500, "windows-1252", "WINDOWS-1252"},
    {"WindowsANSI", 0x0500, "windows-1252", "WINDOWS-1252"},
    {"WindowsLatin2", 0x0501, "windows-1250", "WINDOWS-1250"},
    {"WindowsCyrillic", 0x0502, "windows-1251", "WINDOWS-1251"},
    {"WindowsGreek", 0x0503, "windows-1253", "WINDOWS-1253"},
    {"DOSLatin1", 0x0410, "IBM850", "CP850"},
    {"ShiftJIS", 0x0A01, "Shift_JIS", "SHIFT_JIS"},
    {"KOI8_R", 0x0A02, "KOI8-R", "KOI8-R"},
};

const KnownEncoding* knownEncoding(uint32_t code) {
  for (const KnownEncoding& e : kEncodings)
    if (e.code == code) return &e;
  return nullptr;
}

uint32_t codeOf(Runtime& runtime, ClassInfo* cls, const Value& encoding) {
  uint32_t code = 0;
  std::memcpy(&code, runtime.impl().instanceData(encoding.object.get(), cls), sizeof code);
  return code;
}

// A TextEncoding for a known code; Nil for any other.
Value encodingValue(Runtime& runtime, ClassInfo* cls, uint32_t code) {
  if (!knownEncoding(code)) return Value::nil();
  ObjectRef object = ObjectRef::adopt(runtime.impl().instantiate(cls));
  if (!object) throw std::bad_alloc();
  std::memcpy(runtime.impl().instanceData(object.get(), cls), &code, sizeof code);
  return Value::ofObject(std::move(object));
}

// The code of a TextEncoding argument; raises NilObjectException for Nil.
bool argumentCode(Runtime& runtime, ClassInfo* cls, const Value& encoding, const char* function, uint32_t& code) {
  if (encoding.isNil()) {
    runtime.impl().raise("NilObjectException", std::string(function) + " was given a Nil TextEncoding");
    return false;
  }
  code = codeOf(runtime, cls, encoding);
  return true;
}

// Whether bytes are text in the encoding: iconv reads them to the end without a fault.
bool validIn(const std::string& bytes, uint32_t code) {
  iconv_t cd = ::iconv_open("UTF-32LE", iconvNameOf(code));
  if (cd == reinterpret_cast<iconv_t>(-1)) return false;
  std::string buffer(bytes.size() * 4 + 16, '\0');
  char* in = const_cast<char*>(bytes.data());
  size_t inLeft = bytes.size(), outLeft = buffer.size();
  char* out = &buffer[0];
  const bool valid = ::iconv(cd, &in, &inLeft, &out, &outLeft) != static_cast<size_t>(-1) && inLeft == 0;
  ::iconv_close(cd);
  return valid;
}

std::string utf8Of(uint32_t cp) {
  std::string out;
  if (cp < 0x80) return std::string(1, static_cast<char>(cp));
  if (cp < 0x800) return {static_cast<char>(0xC0 | (cp >> 6)), static_cast<char>(0x80 | (cp & 0x3F))};
  if (cp < 0x10000)
    return {static_cast<char>(0xE0 | (cp >> 12)), static_cast<char>(0x80 | ((cp >> 6) & 0x3F)), static_cast<char>(0x80 | (cp & 0x3F))};
  return {static_cast<char>(0xF0 | (cp >> 18)), static_cast<char>(0x80 | ((cp >> 12) & 0x3F)),
          static_cast<char>(0x80 | ((cp >> 6) & 0x3F)), static_cast<char>(0x80 | (cp & 0x3F))};
}

}  // namespace

Value textEncodingValue(Runtime& runtime, uint32_t code) { return encodingValue(runtime, runtime.impl().textEncodingClass, code); }

uint32_t textEncodingCode(Runtime& runtime, const Value& encoding) {
  ClassInfo* cls = runtime.impl().textEncodingClass;
  if (encoding.isNil() || !encoding.object.get()->cls->isA(cls)) return kEncodingUnknown;
  return codeOf(runtime, cls, encoding);
}

const char* iconvNameOf(uint32_t code) {
  const KnownEncoding* e = knownEncoding(code);
  return e ? e->iconvName : nullptr;
}

void installTextEncodingClasses(Runtime::Impl& impl) {
  ClassInfo* cls = impl.addBuiltInClass("TextEncoding", "", sizeof(uint32_t));
  impl.textEncodingClass = cls;
  auto field = [cls](uint32_t (*part)(uint32_t)) {
    return [cls, part](Runtime& runtime, const Value& self, std::vector<Value>&) {
      return Value::ofInteger(part(codeOf(runtime, cls, self)));
    };
  };
  addNativeProperty(cls, "Base", "Integer", field([](uint32_t c) { return c & 0xFFFF; }));
  addNativeProperty(cls, "Variant", "Integer", field([](uint32_t c) { return (c >> 16) & 0x3FF; }));
  addNativeProperty(cls, "Format", "Integer", field([](uint32_t c) { return c >> 26; }));
  addNativeProperty(cls, "Code", "Integer", field([](uint32_t c) { return c; }));
  addNativeProperty(cls, "InternetName", "String", [cls](Runtime& runtime, const Value& self, std::vector<Value>&) {
    return runtime.string(knownEncoding(codeOf(runtime, cls, self))->internetName);
  });
  addNativeMethod(cls, "Equals(otherEncoding as TextEncoding) as Boolean", [cls](Runtime& runtime, const Value& self, std::vector<Value>& args) {
    return Value::ofBoolean(!args.at(0).isNil() && codeOf(runtime, cls, self) == codeOf(runtime, cls, args[0]));
  });
  // Two TextEncodings compare by their codes, so "=" finds the same encoding equal.
  addNativeMethod(cls, "Operator_Compare(rhs as TextEncoding) as Integer", [cls](Runtime& runtime, const Value& self, std::vector<Value>& args) {
    if (args.at(0).isNil()) return Value::ofInteger(1);
    const uint32_t a = codeOf(runtime, cls, self), b = codeOf(runtime, cls, args[0]);
    return Value::ofInteger(a < b ? -1 : a > b ? 1 : 0);
  });
  addNativeMethod(cls, "Chr(codePoint as Integer) as String", [cls](Runtime& runtime, const Value& self, std::vector<Value>& args) {
    const int64_t cp = args.at(0).integer;
    const uint32_t code = codeOf(runtime, cls, self);
    if (cp < 0 || cp > 0x10FFFF || (cp >= 0xD800 && cp < 0xE000)) {
      runtime.impl().raise("OutOfBoundsException", "TextEncoding.Chr: " + std::to_string(cp) + " is no character");
      return Value::ofString({});
    }
    std::string bytes;
    Runtime::Impl::convertBytes(utf8Of(static_cast<uint32_t>(cp)), kEncodingUTF8, code, bytes);
    return runtime.string(bytes, code);
  });
  addNativeMethod(cls, "IsValidData(text as String) as Boolean", [cls](Runtime& runtime, const Value& self, std::vector<Value>& args) {
    return Value::ofBoolean(validIn(runtime.bytes(args.at(0)), codeOf(runtime, cls, self)));
  });

  // Encodings.UTF8 and its siblings: a new TextEncoding each time, equal to the others.
  ClassInfo* module = impl.addBuiltInClass("Encodings", "", 0);
  for (const KnownEncoding& e : kEncodings) {
    PropertyInfo p;
    p.name = e.name;
    p.type = "TextEncoding";
    const uint32_t code = e.code;
    p.nativeGetter = [cls, code](Runtime& runtime, const Value&, std::vector<Value>&) { return encodingValue(runtime, cls, code); };
    module->sharedProperties.push_back(std::move(p));
  }

  auto global = [&impl](const char* declaration, NativeFunction f) { impl.globals.push_back(nativeMember(declaration, std::move(f))); };
  global("Encoding(s as String) as TextEncoding", [cls](Runtime& runtime, const Value&, std::vector<Value>& args) {
    return encodingValue(runtime, cls, runtime.encoding(args.at(0)));
  });
  global("ConvertEncoding(s as String, newEncoding as TextEncoding) as String", [cls](Runtime& runtime, const Value&, std::vector<Value>& args) {
    uint32_t to = 0;
    if (!argumentCode(runtime, cls, args.at(1), "ConvertEncoding", to)) return Value::ofString({});
    const uint32_t from = runtime.encoding(args.at(0));
    std::string bytes;
    if (!Runtime::Impl::convertBytes(runtime.bytes(args[0]), from, to, bytes)) bytes = runtime.bytes(args[0]);
    return runtime.string(bytes, to);
  });
  global("DefineEncoding(s as String, enc as TextEncoding) as String", [cls](Runtime& runtime, const Value&, std::vector<Value>& args) {
    const uint32_t code = args.at(1).isNil() ? kEncodingUnknown : codeOf(runtime, cls, args[1]);
    return runtime.string(runtime.bytes(args.at(0)), code);
  });
  global("GetTextEncoding(base as Integer, variant as Integer = 0, format as Integer = 0) as TextEncoding",
         [cls](Runtime& runtime, const Value&, std::vector<Value>& args) {
           // A whole code (GetTextEncoding(&h08000100)) is taken as it is.
           const int64_t base = args.at(0).integer;
           const int64_t code = base > 0xFFFF ? base
                                              : (base & 0xFFFF) | ((args.at(1).integer & 0x3FF) << 16) | ((args.at(2).integer & 0x3F) << 26);
           return encodingValue(runtime, cls, static_cast<uint32_t>(code));
         });
  global("GetInternetTextEncoding(name as String) as TextEncoding", [cls](Runtime& runtime, const Value&, std::vector<Value>& args) {
    const std::string name = runtime.utf8(args.at(0));
    for (const KnownEncoding& e : kEncodings)
      if (strcasecmp(e.internetName, name.c_str()) == 0) return encodingValue(runtime, cls, e.code);
    return Value::nil();
  });
}

}  // namespace host
