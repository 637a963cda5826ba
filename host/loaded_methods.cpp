// "REALLoadGlobalMethod" and "REALLoadObjectMethod": plugins ask for a host function by
// its declaration (compared without regard to case or spacing, or by signature) and get
// a C function pointer. Plugin members give their own function; members the host
// implements get a libffi closure. Also the host's global functions (LenB, Len).
#include "closures.h"
#include "native_members.h"

#include <cstdio>
#include <cstring>

namespace host {

struct ClosurePool::Closure {
  ffi_closure* closure = nullptr;
  void* code = nullptr;
  ffi_cif cif;
  std::vector<ffi_type*> ffiTypes;
  std::vector<HostType> types;  // the C parameters after self
  HostType result;
  bool hasSelf = false;
  NativeFunction function;
};

namespace {

void runClosure(ffi_cif*, void* ret, void** args, void* user) {
  auto* c = static_cast<ClosurePool::Closure*>(user);
  Slot result{};
  Runtime::Impl* impl = currentImpl();
  if (impl && !tCurrentHostThread) {
    refuseForeignCall("a method loaded by declaration");
    impl = nullptr;
  }
  if (impl) {
    try {
      size_t k = 0;
      Value self;
      if (c->hasSelf) {
        Slot s{};
        std::memcpy(&s.p, args[k++], sizeof(void*));
        self = fromSlot(*impl, hostType("Object"), s, false);
      }
      std::vector<Value> values;
      for (const HostType& type : c->types) {
        Slot s{};
        std::memcpy(s.bytes, args[k++], isReference(type) ? sizeof(void*) : fieldSize(type));
        values.push_back(fromSlot(*impl, type, s, false));
      }
      Value value = coerce(*impl, c->result, c->function(impl->runtime, self, values));
      if (c->result.kind != TypeKind::Void && toSlot(c->result, value, result) && result.p) {
        // A string or object result carries one reference for the caller.
        if (c->result.kind == TypeKind::String && !c->result.isArray) impl->lockString(static_cast<StringObject*>(result.p));
        else if (isReference(c->result) && c->result.kind != TypeKind::Ptr) impl->lockObject(static_cast<ObjectHeader*>(result.p));
      }
    } catch (const HostException& e) {
      impl->raise(e.exception().get());
      result = Slot{};
    } catch (const std::exception& e) {
      impl->raise("RuntimeException", e.what());
      result = Slot{};
    }
  }
  writeResult(c->result, result, ret);
}

// The getter form "Name(args) as T" of the setter form "Name(args, assigns v as T)".
bool isSetterOf(const Declaration& setter, const Declaration& getter) {
  if (setter.parameters.empty() || !setter.parameters.back().assigns) return false;
  Declaration g = setter;
  g.returnType = g.parameters.back().type;
  g.returnsArray = g.parameters.back().isArray;
  g.parameters.pop_back();
  return sameSignature(g, getter, true);
}

bool matches(const std::string& registered, const Declaration& declaration, const std::string& wanted,
             const Declaration& wantedDeclaration) {
  return squeezed(registered) == squeezed(wanted) || sameSignature(declaration, wantedDeclaration, true);
}

}  // namespace

ClosurePool::ClosurePool() = default;

ClosurePool::~ClosurePool() {
  for (auto& entry : closures_)
    if (entry.second->closure) ffi_closure_free(entry.second->closure);
}

void* ClosurePool::entryFor(const void* key, const Declaration& declaration, bool hasSelf, NativeFunction function) {
  auto found = closures_.find({key, hasSelf});
  if (found != closures_.end()) return found->second->code;
  auto c = std::make_unique<Closure>();
  c->hasSelf = hasSelf;
  c->function = std::move(function);
  c->result = returnType(declaration);
  if (hasSelf) c->ffiTypes.push_back(&ffi_type_pointer);
  for (const Parameter& p : declaration.parameters) {
    c->types.push_back(parameterType(p));
    c->ffiTypes.push_back(ffiType(c->types.back()));
  }
  if (ffi_prep_cif(&c->cif, FFI_DEFAULT_ABI, static_cast<unsigned>(c->ffiTypes.size()), ffiType(c->result),
                   c->ffiTypes.data()) != FFI_OK)
    return nullptr;
  c->closure = static_cast<ffi_closure*>(ffi_closure_alloc(sizeof(ffi_closure), &c->code));
  if (!c->closure) return nullptr;
  if (ffi_prep_closure_loc(c->closure, &c->cif, &runClosure, c.get(), c->code) != FFI_OK) return nullptr;
  void* code = c->code;
  closures_[{key, hasSelf}] = std::move(c);
  return code;
}

// ---- global functions

void installGlobalFunctions(Runtime::Impl& impl) {
  auto add = [&](const char* declaration, NativeFunction native) {
    impl.globals.push_back(nativeMember(declaration, std::move(native)));
  };
  add("LenB(s as String) as Integer", [](Runtime& runtime, const Value&, std::vector<Value>& args) {
    return Value::ofInteger(int64_t(runtime.bytes(args.at(0)).size()));
  });
  add("Len(s as String) as Integer", [](Runtime& runtime, const Value&, std::vector<Value>& args) {
    // Characters: UTF-8 lead bytes of the text in UTF-8.
    int64_t count = 0;
    for (unsigned char c : runtime.utf8(args.at(0)))
      if ((c & 0xC0) != 0x80) ++count;
    return Value::ofInteger(count);
  });
  addVariantGlobals(impl);
}

// ---- entry points

namespace {

void* loadGlobalMethod(void* /*unused*/, const char* declaration) {
  Runtime::Impl* impl = currentImpl();
  if (!impl || !declaration) return nullptr;
  try {
    Declaration wanted = Declaration::parse(declaration);
    for (const GlobalFunction& g : impl->globals)
      if (matches(g.declarationText, g.declaration, declaration, wanted))
        return impl->closures->entryFor(&g, g.declaration, false, g.native);
  } catch (const std::exception& e) {
    std::fprintf(stderr, "host: REALLoadGlobalMethod(\"%s\"): %s\n", declaration, e.what());
  }
  return nullptr;
}

void* loadObjectMethod(ObjectHeader* object, const char* declaration) {
  Runtime::Impl* impl = currentImpl();
  if (!impl || !declaration || !impl->isLiveObject(object)) return nullptr;
  try {
    Declaration wanted = Declaration::parse(declaration);
    for (ClassInfo* c = object->cls; c; c = c->superclass)
      for (const MethodInfo& m : c->methods) {
        if (matches(m.declarationText, m.declaration, declaration, wanted)) {
          if (m.native) return impl->closures->entryFor(&m, m.declaration, true, m.native);
          return m.function ? m.function : m.setterFunction;
        }
        if (isSetterOf(wanted, m.declaration)) {  // the assigning half of a getter/setter pair
          if (m.nativeSetter) return impl->closures->entryFor(&m.nativeSetter, wanted, true, m.nativeSetter);
          if (m.setterFunction) return m.setterFunction;
        }
      }
  } catch (const std::exception& e) {
    std::fprintf(stderr, "host: REALLoadObjectMethod(\"%s\"): %s\n", declaration, e.what());
  }
  return nullptr;
}

}  // namespace

void addLoadedMethodEntryPoints(std::vector<EntryPoint>& table) {
  table.push_back({"REALLoadGlobalMethod", guardedEntryPoint<&loadGlobalMethod>("REALLoadGlobalMethod")});
  table.push_back({"REALLoadObjectMethod", guardedEntryPoint<&loadObjectMethod>("REALLoadObjectMethod")});
}

}  // namespace host
