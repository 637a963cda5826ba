// Host strings: counted byte strings tagged with an encoding code, laid out word by word
// as plugins of older hosts read them (see StringObject). Conversions between encodings
// go through iconv; a character the target cannot hold becomes '?'. Also the string
// entry points plugins call.
#include "runtime_private.h"

#include <iconv.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

extern "C" void* qvr_host_platform_string(const uint16_t* units, size_t count);

namespace host {

namespace {

const char* iconvName(uint32_t encoding) { return iconvNameOf(encoding); }

// Bytes of the source character at p that cannot be converted (so it can be skipped).
// Unicode formats other than UTF-8: the bytes of one code unit (2 or 4), or 0.
size_t unitBytes(uint32_t encoding) {
  if ((encoding & 0xFFFF) != 0x100) return 0;
  const uint32_t format = encoding >> 26;
  return format == 0 || format == 4 || format == 5 ? 2 : format == 3 || format == 6 || format == 7 ? 4 : 0;
}

size_t characterLength(uint32_t encoding, const unsigned char* p, size_t left) {
  if (unitBytes(encoding) == 4) return left < 4 ? left : 4;
  if (unitBytes(encoding) == 2) {
    if (left < 2) return left;
    uint16_t unit;
    std::memcpy(&unit, p, 2);
    return (unit >= 0xD800 && unit < 0xDC00 && left >= 4) ? 4 : 2;
  }
  if (encoding == kEncodingUTF8) {
    size_t n = 1;
    if (p[0] >= 0xF0) n = 4;
    else if (p[0] >= 0xE0) n = 3;
    else if (p[0] >= 0xC0) n = 2;
    for (size_t i = 1; i < n; ++i)
      if (i >= left || (p[i] & 0xC0) != 0x80) return i;  // a broken sequence: skip what was read
    return n;
  }
  return 1;
}

std::string questionMark(uint32_t encoding) {
  std::string out;
  if (!unitBytes(encoding) || !Runtime::Impl::convertBytes("?", kEncodingUTF8, encoding, out)) return "?";
  return out;
}

}  // namespace

bool Runtime::Impl::convertBytes(const std::string& in, uint32_t from, uint32_t to, std::string& out) {
  if (from == to || from == kEncodingUnknown || to == kEncodingUnknown) {
    out = in;
    return true;
  }
  const char* fromName = iconvName(from);
  const char* toName = iconvName(to);
  if (!fromName || !toName) return false;
  iconv_t cd = ::iconv_open(toName, fromName);
  if (cd == reinterpret_cast<iconv_t>(-1)) return false;
  out.clear();
  std::string buffer(in.size() * 4 + 16, '\0');
  char* inPtr = const_cast<char*>(in.data());
  size_t inLeft = in.size();
  while (inLeft > 0) {
    char* outPtr = &buffer[0];
    size_t outLeft = buffer.size();
    size_t r = ::iconv(cd, &inPtr, &inLeft, &outPtr, &outLeft);
    out.append(buffer.data(), buffer.size() - outLeft);
    if (r != static_cast<size_t>(-1)) break;
    if (errno == E2BIG) continue;
    if (errno == EILSEQ || errno == EINVAL) {
      size_t skip = characterLength(from, reinterpret_cast<unsigned char*>(inPtr), inLeft);
      if (skip == 0 || skip > inLeft) skip = inLeft;
      inPtr += skip;
      inLeft -= skip;
      out += questionMark(to);
      continue;
    }
    ::iconv_close(cd);
    return false;
  }
  ::iconv_close(cd);
  return true;
}

StringObject* Runtime::Impl::newString(const void* bytes, size_t length, uint32_t encoding) {
  auto* string = static_cast<StringObject*>(std::calloc(1, sizeof(StringObject)));
  if (!string) return nullptr;
  // buffer[0] is unused; the text follows, with room for a two-byte terminator so that
  // UTF-16 text ends in a NUL unit too.
  string->buffer = static_cast<char*>(std::calloc(1, length + 3));
  if (!string->buffer) {
    std::free(string);
    return nullptr;
  }
  if (length && bytes) std::memcpy(string->buffer + 1, bytes, length);
  string->refCount = 1;
  string->encoding = encoding;
  string->length = length;
  liveStrings.insert(string);
  return string;
}

bool Runtime::Impl::isLiveString(const void* string) const {
  return string && liveStrings.count(static_cast<StringObject*>(const_cast<void*>(string))) != 0;
}

void Runtime::Impl::lockString(StringObject* string) {
  if (isLiveString(string)) ++string->refCount;
}

void Runtime::Impl::unlockString(StringObject* string) {
  if (!isLiveString(string)) return;
  if (--string->refCount > 0) return;
  liveStrings.erase(string);
  std::free(string->buffer);
  std::free(string);
}

std::string Runtime::Impl::utf8Of(const StringObject* string) const {
  if (!string || !isLiveString(string)) return std::string();
  std::string own(string->text(), string->length);
  std::string out;
  if (!convertBytes(own, static_cast<uint32_t>(string->encoding), kEncodingUTF8, out)) return own;
  return out;
}

// ---- the runtime's string interface

Value Runtime::string(std::string_view bytes, uint32_t encoding) {
  StringObject* s = impl_->newString(bytes.data(), bytes.size(), encoding);
  if (!s) throw std::bad_alloc();
  return Value::ofString(StringRef::adopt(s));
}

std::string Runtime::bytes(const Value& string) const {
  if (string.kind != Value::Kind::String || !impl_->isLiveString(string.string.get())) return std::string();
  return std::string(string.string.get()->text(), string.string.get()->length);
}

std::string Runtime::utf8(const Value& string) const {
  if (string.kind != Value::Kind::String) return std::string();
  return impl_->utf8Of(string.string.get());
}

uint32_t Runtime::encoding(const Value& string) const {
  if (string.kind != Value::Kind::String || !impl_->isLiveString(string.string.get())) return kEncodingUnknown;
  return static_cast<uint32_t>(string.string.get()->encoding);
}

// ---- entry points

namespace {

StringObject* liveString(Runtime::Impl* impl, StringObject* s) {
  return impl && impl->isLiveString(s) ? s : nullptr;
}

void realLockString(StringObject* s) {
  if (Runtime::Impl* impl = currentImpl()) impl->lockString(s);
}

void realUnlockString(StringObject* s) {
  if (Runtime::Impl* impl = currentImpl()) impl->unlockString(s);
}

// The byte count is read as 32 bits, so callers passing either an int or a
// pointer-sized count agree.
StringObject* realBuildString(const char* bytes, int32_t length) {
  Runtime::Impl* impl = currentImpl();
  if (!impl || length < 0 || (!bytes && length > 0)) return nullptr;
  return impl->newString(bytes, static_cast<size_t>(length), kEncodingUnknown);
}

uint32_t realGetStringEncoding(StringObject* s) {
  StringObject* string = liveString(currentImpl(), s);
  return string ? static_cast<uint32_t>(string->encoding) : kEncodingUnknown;
}

void realSetStringEncoding(StringObject* s, uint32_t encoding) {
  if (StringObject* string = liveString(currentImpl(), s)) string->encoding = encoding;
}

StringObject* realConvertString(StringObject* s, uint32_t encoding) {
  Runtime::Impl* impl = currentImpl();
  StringObject* string = liveString(impl, s);
  if (!string) return nullptr;
  std::string out;
  if (!Runtime::Impl::convertBytes(std::string(string->text(), string->length), static_cast<uint32_t>(string->encoding),
                                   encoding, out))
    return nullptr;
  return impl->newString(out.data(), out.size(), encoding);
}

int pluginGetStringData(StringObject* s, uint32_t encoding, StringData* out) {
  StringObject* string = liveString(currentImpl(), s);
  if (!string || !out) return 0;
  std::string own(string->text(), string->length);
  std::string converted;
  uint32_t have = static_cast<uint32_t>(string->encoding);
  if (encoding == kEncodingUnknown || encoding == have) {
    converted = own;
  } else if (!Runtime::Impl::convertBytes(own, have, encoding, converted)) {
    return 0;
  }
  auto* bytes = static_cast<char*>(std::calloc(1, converted.size() + 4));
  if (!bytes) return 0;
  std::memcpy(bytes, converted.data(), converted.size());
  out->data = bytes;
  out->length = converted.size();
  out->encoding = encoding;
  out->reserved1 = 0;
  out->reserved2 = 0;
  return 1;
}

void pluginDisposeStringData(StringData* data) {
  if (!data) return;
  std::free(data->data);
  data->data = nullptr;
  data->length = 0;
}

const char* stringGetCString(StringObject* s) {
  StringObject* string = liveString(currentImpl(), s);
  return string ? string->text() : "";
}

// A new platform string (owned by the caller) with the string's text. Text of unknown
// encoding is read as Mac Roman, as the plugin's own fallback reads it.
void* realGetStringCFString(StringObject* s, int32_t /*flag*/) {
  StringObject* string = liveString(currentImpl(), s);
  if (!string) return nullptr;
  uint32_t from = static_cast<uint32_t>(string->encoding);
  if (from == kEncodingUnknown) from = kEncodingMacRoman;
  std::string units;
  if (!Runtime::Impl::convertBytes(std::string(string->text(), string->length), from, kEncodingUTF16, units))
    return nullptr;
  return qvr_host_platform_string(reinterpret_cast<const uint16_t*>(units.data()), units.size() / 2);
}

}  // namespace

void addStringEntryPoints(std::vector<EntryPoint>& table) {
  table.push_back({"REALLockString", guardedEntryPoint<&realLockString>("REALLockString")});
  table.push_back({"REALUnlockString", guardedEntryPoint<&realUnlockString>("REALUnlockString")});
  table.push_back({"REALBuildString", guardedEntryPoint<&realBuildString>("REALBuildString")});
  table.push_back({"REALGetStringEncoding", guardedEntryPoint<&realGetStringEncoding>("REALGetStringEncoding")});
  table.push_back({"REALSetStringEncoding", guardedEntryPoint<&realSetStringEncoding>("REALSetStringEncoding")});
  table.push_back({"REALConvertString", guardedEntryPoint<&realConvertString>("REALConvertString")});
  table.push_back({"PluginGetStringData", guardedEntryPoint<&pluginGetStringData>("PluginGetStringData")});
  table.push_back({"PluginDisposeStringData", guardedEntryPoint<&pluginDisposeStringData>("PluginDisposeStringData")});
  table.push_back({"StringGetCString", guardedEntryPoint<&stringGetCString>("StringGetCString")});
}

void addPlatformStringEntryPoints(std::vector<EntryPoint>& table) {
  table.push_back({"REALGetStringCFString", guardedEntryPoint<&realGetStringCFString>("REALGetStringCFString")});
}

}  // namespace host
