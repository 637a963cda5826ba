// Class registration: reads a plugin's class definition record in the layout its
// version word names (9: 25 words, 10-12: 29 words, with member records of the matching
// strides), builds the ClassInfo the host works from, places the class's instance data
// after its superclass's and writes that offset back into the record's forSystemUse word.
// Also the version entry points plugins call before they register.
#include "runtime_private.h"

#include "types.h"

#include <cstdio>
#include <cstring>

namespace host {

namespace {

// Member arrays longer than this are taken for a damaged record.
constexpr uintptr_t kMaxMembers = 1u << 16;
constexpr uintptr_t kMaxDataSize = 1u << 24;

struct Strides {
  size_t classWords, property, method, event, constant;
};

Strides stridesFor(uintptr_t version) {
  if (version == 9) return {25, 10, 4, 2, 3};
  return {29, 12, 6, 4, 5};
}

std::string text(uintptr_t word) { return word ? std::string(reinterpret_cast<const char*>(word)) : std::string(); }

void warn(const std::string& className, const std::string& what) {
  std::fprintf(stderr, "host: class %s: %s\n", className.c_str(), what.c_str());
}

std::vector<PropertyInfo> readProperties(uintptr_t array, uintptr_t count, size_t stride, const std::string& cls) {
  std::vector<PropertyInfo> out;
  if (!array || count == 0) return out;
  if (count > kMaxMembers) {
    warn(cls, "property count out of range");
    return out;
  }
  auto* words = reinterpret_cast<const uintptr_t*>(array);
  for (uintptr_t i = 0; i < count; ++i) {
    const uintptr_t* r = words + i * stride;
    PropertyInfo p;
    p.group = text(r[0]);
    p.name = text(r[1]);
    p.type = text(r[2]);
    p.flags = r[3];
    p.getter = reinterpret_cast<void*>(r[4]);
    p.setter = reinterpret_cast<void*>(r[5]);
    p.param = static_cast<intptr_t>(r[6]);
    if (p.name.empty() || p.type.empty()) {
      warn(cls, "a property without a name or type is left out");
      continue;
    }
    out.push_back(std::move(p));
  }
  return out;
}

std::vector<MethodInfo> readMethods(uintptr_t array, uintptr_t count, size_t stride, const std::string& cls) {
  std::vector<MethodInfo> out;
  if (!array || count == 0) return out;
  if (count > kMaxMembers) {
    warn(cls, "method count out of range");
    return out;
  }
  auto* words = reinterpret_cast<const uintptr_t*>(array);
  for (uintptr_t i = 0; i < count; ++i) {
    const uintptr_t* r = words + i * stride;
    MethodInfo m;
    m.function = reinterpret_cast<void*>(r[0]);
    m.setterFunction = reinterpret_cast<void*>(r[1]);
    m.declarationText = text(r[2]);
    m.flags = r[3];
    try {
      m.declaration = Declaration::parse(m.declarationText);
    } catch (const std::invalid_argument& e) {
      warn(cls, e.what());
      continue;
    }
    if (!m.function && !m.setterFunction) {
      warn(cls, "method \"" + m.declarationText + "\" has no function");
      continue;
    }
    out.push_back(std::move(m));
  }
  return out;
}

}  // namespace

// "Name=1", "Name as Integer = 1", "Name = \"text\"".
ConstantInfo parseConstant(const std::string& declaration) {
  ConstantInfo c;
  c.declarationText = declaration;
  size_t eq = declaration.find('=');
  if (eq == std::string::npos) throw std::invalid_argument("constant \"" + declaration + "\" has no value");
  Declaration lhs = Declaration::parse(declaration.substr(0, eq));
  if (!lhs.parameters.empty()) throw std::invalid_argument("constant \"" + declaration + "\" has parameters");
  c.name = lhs.name;
  std::string value = declaration.substr(eq + 1);
  size_t b = value.find_first_not_of(" \t\r\n");
  size_t e = value.find_last_not_of(" \t\r\n");
  c.value = b == std::string::npos ? std::string() : value.substr(b, e - b + 1);
  c.type = lhs.returnType.empty() ? literalTypeName(c.value) : lhs.returnType;
  return c;
}

void Runtime::Impl::registerClassRecord(uintptr_t* record) {
  if (!record) return;
  const uintptr_t version = record[0];
  if (version < 9 || version > 12) {
    std::fprintf(stderr, "host: class record of unknown layout %lu refused\n", static_cast<unsigned long>(version));
    return;
  }
  const Strides strides = stridesFor(version);
  auto cls = std::make_unique<ClassInfo>();
  cls->name = text(record[1]);
  cls->superName = text(record[2]);
  if (cls->name.empty()) {
    std::fprintf(stderr, "host: class record without a name refused\n");
    return;
  }
  if (findClass(cls->name)) {
    warn(cls->name, "already registered; the second registration is refused");
    return;
  }
  if (!cls->superName.empty()) {
    cls->superclass = findClass(cls->superName);
    if (!cls->superclass) {
      warn(cls->name, "superclass " + cls->superName + " is not registered; class refused");
      return;
    }
  }
  if (record[3] > kMaxDataSize) {
    warn(cls->name, "instance data size out of range; class refused");
    return;
  }
  cls->layout = static_cast<int>(version);
  cls->recordWords.assign(record, record + strides.classWords);
  cls->propertyRecordSize = strides.property * sizeof(uintptr_t);
  cls->methodRecordSize = strides.method * sizeof(uintptr_t);
  cls->constantRecordSize = strides.constant * sizeof(uintptr_t);
  cls->dataSize = record[3];
  cls->dataOffset = cls->superclass ? cls->superclass->dataOffset + cls->superclass->dataSize : sizeof(ObjectHeader);
  cls->constructor = reinterpret_cast<void*>(record[5]);
  cls->destructor = reinterpret_cast<void*>(record[6]);
  cls->properties = readProperties(record[7], record[8], strides.property, cls->name);
  cls->methods = readMethods(record[9], record[10], strides.method, cls->name);
  cls->flags = record[20];
  cls->sharedProperties = readProperties(record[21], record[22], strides.property, cls->name);
  cls->sharedMethods = readMethods(record[23], record[24], strides.method, cls->name);
  if (record[18] && record[19] && record[19] <= kMaxMembers) {
    auto* words = reinterpret_cast<const uintptr_t*>(record[18]);
    for (uintptr_t i = 0; i < record[19]; ++i) {
      std::string declaration = text(words[i * strides.constant]);
      try {
        cls->constants.push_back(parseConstant(declaration));
      } catch (const std::invalid_argument& e) {
        warn(cls->name, e.what());
      }
    }
  }
  // Marker properties must lie inside the class's own data.
  void* const marker = reinterpret_cast<void*>(intptr_t(-1));
  for (PropertyInfo& p : cls->properties) {
    if (p.getter != marker && p.setter != marker) continue;
    size_t size = fieldSize(hostType(p.type));
    if (p.param < 0 || size_t(p.param) + size > cls->dataSize) {
      warn(cls->name, "property " + p.name + " lies outside the instance data; it reads and writes nothing");
      if (p.getter == marker) p.getter = nullptr;
      if (p.setter == marker) p.setter = nullptr;
    }
  }
  record[4] = cls->dataOffset;
  cls->recordWords[4] = cls->dataOffset;
  ClassInfo* raw = cls.get();
  classByName[lowerCase(raw->name)] = raw;
  classList.push_back(std::move(cls));
}

// ---- entry points

namespace {

void registerPluginVersion(int32_t version) {
  if (Runtime::Impl* impl = currentImpl()) impl->registeredVersion = version;
}

double realGetRBVersion() {
  Runtime::Impl* impl = currentImpl();
  return impl && impl->options.version ? *impl->options.version : 0.0;
}

void pluginRegisterClass(uintptr_t* record) {
  if (Runtime::Impl* impl = currentImpl()) impl->registerClassRecord(record);
}

}  // namespace

void addRegistrationEntryPoints(std::vector<EntryPoint>& table) {
  table.push_back({"RegisterPluginVersion", guardedEntryPoint<&registerPluginVersion>("RegisterPluginVersion")});
  table.push_back({"REALGetRBVersion", guardedEntryPoint<&realGetRBVersion>("REALGetRBVersion")});
  table.push_back({"PluginRegisterClass", guardedEntryPoint<&pluginRegisterClass>("PluginRegisterClass")});
}

}  // namespace host
