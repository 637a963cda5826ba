// The call API: host code creates instances and calls members by name or declaration.
// The overload is chosen as the host language chooses it (argument count, then the
// closest fit of each argument), missing arguments take their declared defaults, and the
// plugin function is called through libffi with the C signature the declaration implies:
// instance methods R f(self, args...), shared methods R f(args...), assignable methods
// void f(self, args..., value), property accessors T f(self, param) and
// void f(self, param, value). After the call a pending host exception is thrown.
#include "calls.h"

#include "boundary.h"

#include <cctype>

namespace host {

namespace {

void* const kMarker = reinterpret_cast<void*>(intptr_t(-1));

struct Candidate {
  const MethodInfo* method;
  ClassInfo* owner;
};

enum class Mode { Call, Assign };

bool namesDeclaration(std::string_view member) {
  for (char c : member)
    if (c == '(' || std::isspace(static_cast<unsigned char>(c))) return true;
  return false;
}

// Members of that name (or exact declaration) along the hierarchy, most-derived first;
// a subclass's member hides a superclass member with the same parameters.
std::vector<Candidate> collect(ClassInfo* cls, std::string_view member, bool shared) {
  std::vector<Candidate> out;
  const bool byDeclaration = namesDeclaration(member);
  Declaration wanted;
  if (byDeclaration) wanted = Declaration::parse(member);
  const std::string wantedText = squeezed(member);
  for (ClassInfo* c = cls; c; c = c->superclass) {
    for (const MethodInfo& m : shared ? c->sharedMethods : c->methods) {
      bool match = byDeclaration ? (sameSignature(m.declaration, wanted, true) || squeezed(m.declarationText) == wantedText)
                                 : equalsIgnoringCase(m.declaration.name, member);
      if (!match) continue;
      bool hidden = false;
      for (const Candidate& have : out)
        if (sameSignature(have.method->declaration, m.declaration, false)) hidden = true;
      if (!hidden) out.push_back({&m, c});
    }
  }
  return out;
}

size_t ordinaryParameterCount(const Declaration& d) {
  size_t n = d.parameters.size();
  if (n && d.parameters.back().assigns) --n;
  return n;
}

bool canAssign(const MethodInfo& m) {
  const Declaration& d = m.declaration;
  if (!d.parameters.empty() && d.parameters.back().assigns) return m.setterFunction || m.function || m.nativeSetter || m.native;
  return m.setterFunction || m.nativeSetter;
}

HostType assignedType(const MethodInfo& m) {
  const Declaration& d = m.declaration;
  if (!d.parameters.empty() && d.parameters.back().assigns) return parameterType(d.parameters.back());
  return returnType(d);
}

const Candidate& choose(Runtime::Impl& impl, const std::vector<Candidate>& candidates, const std::vector<Value>& args,
                        const Value* assigned, Mode mode, std::string_view member) {
  const Candidate* best = nullptr;
  int bestScore = 0;
  size_t bestDefaults = 0;
  bool ambiguous = false;
  for (const Candidate& c : candidates) {
    const Declaration& d = c.method->declaration;
    const bool hasAssigns = !d.parameters.empty() && d.parameters.back().assigns;
    if (mode == Mode::Call && (hasAssigns || (!c.method->function && !c.method->native))) continue;
    if (mode == Mode::Assign && !canAssign(*c.method)) continue;
    const size_t count = ordinaryParameterCount(d);
    if (args.size() > count) continue;
    int score = 0;
    bool fits = true;
    for (size_t i = 0; i < count && fits; ++i) {
      if (i < args.size()) {
        int s = fitScore(impl, parameterType(d.parameters[i]), args[i]);
        if (s < 0) fits = false;
        score += s;
      } else if (!d.parameters[i].defaultValue) {
        fits = false;
      }
    }
    if (fits && assigned) {
      int s = fitScore(impl, assignedType(*c.method), *assigned);
      if (s < 0) fits = false;
      score += s;
    }
    if (!fits) continue;
    // Between equal fits, the overload that takes the arguments as given wins over one
    // that fills defaults: "TIFFRepresentation" beside "TIFFRepresentation(p = nil)".
    const size_t defaults = count - args.size();
    if (!best || score < bestScore || (score == bestScore && defaults < bestDefaults)) {
      best = &c;
      bestScore = score;
      bestDefaults = defaults;
      ambiguous = false;
    } else if (score == bestScore && defaults == bestDefaults) {
      ambiguous = true;
    }
  }
  if (!best) throw std::invalid_argument("no member \"" + std::string(member) + "\" takes these arguments");
  if (ambiguous && !namesDeclaration(member))
    throw std::invalid_argument("the call of \"" + std::string(member) + "\" fits several overloads equally well");
  return *best;
}

// Calls one member: the arguments given, then the declared defaults.
Value invoke(Runtime::Impl& impl, const Candidate& callee, ObjectHeader* self, const std::vector<Value>& given,
             const Value* assigned, bool guard) {
  const MethodInfo& m = *callee.method;
  const Declaration& d = m.declaration;
  const size_t count = ordinaryParameterCount(d);
  std::vector<HostType> types;
  std::vector<Value> args;
  for (size_t i = 0; i < count; ++i) {
    HostType type = parameterType(d.parameters[i]);
    if (i < given.size())
      args.push_back(coerce(impl, type, given[i]));
    else if (d.parameters[i].defaultValue)
      args.push_back(literalValue(impl, type, *d.parameters[i].defaultValue, callee.owner));
    else
      throw std::invalid_argument("missing argument " + d.parameters[i].name + " of " + m.declarationText);
    types.push_back(type);
  }
  if (assigned) {
    types.push_back(assignedType(m));
    args.push_back(coerce(impl, types.back(), *assigned));
  }

  Value selfValue = self ? Value::ofObject(ObjectRef::retain(self)) : Value::nil();
  const NativeFunction& native = assigned ? (m.nativeSetter ? m.nativeSetter : m.native) : m.native;
  if (native) {
    Value result = native(impl.runtime, selfValue, args);
    return assigned ? Value::nil() : coerce(impl, returnType(d), result);
  }

  void* fn = assigned ? (m.setterFunction ? m.setterFunction : m.function) : m.function;
  if (!fn) throw std::invalid_argument("member " + m.declarationText + " cannot be called this way");
  std::vector<HostType> cTypes;
  std::vector<Slot> slots;
  if (self) {
    cTypes.push_back(hostType("Object"));
    Slot s{};
    s.p = self;
    slots.push_back(s);
  }
  for (size_t i = 0; i < args.size(); ++i) {
    Slot s{};
    if (!toSlot(types[i], args[i], s))
      throw std::invalid_argument("argument " + std::to_string(i + 1) + " of " + m.declarationText + " has the wrong type");
    cTypes.push_back(types[i]);
    slots.push_back(s);
  }
  HostType result = assigned ? HostType{} : returnType(d);
  Slot r = callFunction(fn, result, cTypes, slots, guard);
  return fromSlot(impl, result, r, true);
}

ObjectHeader* selfObject(Runtime::Impl& impl, const Value& self) {
  if (self.kind == Value::Kind::Object && self.object && impl.isLiveObject(self.object.get())) return self.object.get();
  if (self.kind == Value::Kind::Object || self.kind == Value::Kind::Nil) {
    impl.raise("NilObjectException", "");
    impl.throwPending();
  }
  throw std::invalid_argument("members are called on objects");
}

ClassInfo* classNamed(Runtime::Impl& impl, std::string_view name) {
  ClassInfo* cls = impl.findClass(name);
  if (!cls) throw std::invalid_argument("no class " + std::string(name));
  return cls;
}

}  // namespace

Slot callFunction(void* fn, const HostType& result, const std::vector<HostType>& types, std::vector<Slot>& args,
                  bool guard) {
  std::vector<ffi_type*> ffiTypes;
  std::vector<void*> values;
  for (size_t i = 0; i < types.size(); ++i) {
    ffiTypes.push_back(ffiType(types[i]));
    values.push_back(&args[i]);
  }
  ffi_cif cif;
  if (ffi_prep_cif(&cif, FFI_DEFAULT_ABI, static_cast<unsigned>(types.size()), ffiType(result), ffiTypes.data()) != FFI_OK)
    throw std::runtime_error("cannot prepare a call");
  Slot raw{};
  if (guard)
    guarded([&] { ffi_call(&cif, FFI_FN(fn), &raw, values.data()); });
  else
    ffi_call(&cif, FFI_FN(fn), &raw, values.data());
  return resultSlot(result, raw);
}

PropertyAccess findProperty(ClassInfo* cls, std::string_view name) {
  for (ClassInfo* c = cls; c; c = c->superclass)
    for (const PropertyInfo& p : c->properties)
      if (equalsIgnoringCase(p.name, name)) return {&p, c};
  return {};
}

bool readProperty(Runtime::Impl& impl, ObjectHeader* self, std::string_view name, Value& out, bool guard) {
  if (!impl.isLiveObject(self)) return false;
  PropertyAccess access = findProperty(self->cls, name);
  // An object is its own Variant, so the Variant accessors (all native) read any object.
  if (!access.property && impl.variantClass) access = findProperty(impl.variantClass, name);
  if (!access.property) return false;
  const PropertyInfo& p = *access.property;
  const HostType type = hostType(p.type);
  if (p.nativeGetter) {
    std::vector<Value> none;
    out = coerce(impl, type, p.nativeGetter(impl.runtime, Value::ofObject(ObjectRef::retain(self)), none));
    return true;
  }
  if (p.getter == kMarker) {
    out = readField(impl, type, impl.instanceData(self, access.owner) + p.param);
    return true;
  }
  if (!p.getter) return false;
  std::vector<HostType> types{hostType("Object"), hostType("Integer")};
  std::vector<Slot> slots(2);
  slots[0].p = self;
  slots[1].i64 = p.param;
  Slot r = callFunction(p.getter, type, types, slots, guard);
  out = fromSlot(impl, type, r, true);
  return true;
}

bool writeProperty(Runtime::Impl& impl, ObjectHeader* self, std::string_view name, const Value& value, bool guard) {
  if (!impl.isLiveObject(self)) return false;
  PropertyAccess access = findProperty(self->cls, name);
  if (!access.property) return false;
  const PropertyInfo& p = *access.property;
  const HostType type = hostType(p.type);
  if (fitScore(impl, type, value) < 0) return false;
  if (p.nativeSetter) {
    std::vector<Value> args{coerce(impl, type, value)};
    p.nativeSetter(impl.runtime, Value::ofObject(ObjectRef::retain(self)), args);
    return true;
  }
  if (p.setter == kMarker) {
    writeField(impl, type, impl.instanceData(self, access.owner) + p.param, value);
    return true;
  }
  if (!p.setter) return false;
  std::vector<HostType> types{hostType("Object"), hostType("Integer"), type};
  std::vector<Slot> slots(3);
  slots[0].p = self;
  slots[1].i64 = p.param;
  if (!toSlot(type, coerce(impl, type, value), slots[2])) return false;
  callFunction(p.setter, HostType{}, types, slots, guard);
  return true;
}

// ---- the call API

namespace {

// A new instance after its class constructors, or the exception one of them left pending.
ObjectRef instantiated(Runtime::Impl& impl, ClassInfo* cls) {
  ObjectRef object = ObjectRef::adopt(impl.instantiate(cls));
  if (!object) throw std::bad_alloc();
  impl.throwPending();
  return object;
}

}  // namespace

Value Runtime::newInstance(std::string_view className, std::vector<Value> args, std::string_view constructor) {
  Impl& impl = *impl_;
  ClassInfo* cls = classNamed(impl, className);
  if (cls->name.back() == ')') throw std::invalid_argument("arrays are made with Runtime::array");
  // Constructors are inherited as methods are: a subclass's own hides only the one of the
  // same parameters above it.
  std::vector<Candidate> constructors = collect(cls, constructor.empty() ? "Constructor" : constructor, false);
  if (!constructor.empty() && constructors.empty())
    throw std::invalid_argument("class " + cls->name + " has no " + std::string(constructor));
  const Candidate* chosen = nullptr;
  if (!constructors.empty())
    chosen = &choose(impl, constructors, args, nullptr, Mode::Call, "Constructor");
  else if (!args.empty())
    throw std::invalid_argument("class " + cls->name + " has no constructor that takes arguments");
  ObjectRef object = instantiated(impl, cls);
  if (chosen) {
    invoke(impl, *chosen, object.get(), args, nullptr, true);
    impl.throwPending();
  }
  return Value::ofObject(std::move(object));
}

Value Runtime::newInstanceWithoutConstructor(std::string_view className) {
  Impl& impl = *impl_;
  ClassInfo* cls = classNamed(impl, className);
  if (cls->name.back() == ')') throw std::invalid_argument("arrays are made with Runtime::array");
  return Value::ofObject(instantiated(impl, cls));
}

Value Runtime::call(const Value& self, std::string_view member, std::vector<Value> args) {
  Impl& impl = *impl_;
  ObjectHeader* object = selfObject(impl, self);
  std::vector<Candidate> candidates = collect(object->cls, member, false);
  if (candidates.empty() && args.empty() && !namesDeclaration(member)) return get(self, member);
  if (candidates.empty()) throw std::invalid_argument("class " + object->cls->name + " has no method " + std::string(member));
  const Candidate& chosen = choose(impl, candidates, args, nullptr, Mode::Call, member);
  Value result = invoke(impl, chosen, object, args, nullptr, true);
  impl.throwPending();
  return result;
}

Value Runtime::callShared(std::string_view className, std::string_view member, std::vector<Value> args) {
  Impl& impl = *impl_;
  ClassInfo* cls = classNamed(impl, className);
  std::vector<Candidate> candidates = collect(cls, member, true);
  if (candidates.empty()) throw std::invalid_argument("class " + cls->name + " has no shared method " + std::string(member));
  const Candidate& chosen = choose(impl, candidates, args, nullptr, Mode::Call, member);
  Value result = invoke(impl, chosen, nullptr, args, nullptr, true);
  impl.throwPending();
  return result;
}

Value Runtime::get(const Value& self, std::string_view property) {
  Impl& impl = *impl_;
  ObjectHeader* object = selfObject(impl, self);
  Value out;
  if (!readProperty(impl, object, property, out, true)) {
    if (findProperty(object->cls, property).property)
      throw std::invalid_argument("property " + std::string(property) + " cannot be read");
    // A method without arguments reads like a property in host code.
    std::vector<Candidate> candidates = collect(object->cls, property, false);
    if (candidates.empty())
      throw std::invalid_argument("class " + object->cls->name + " has no property " + std::string(property));
    out = invoke(impl, choose(impl, candidates, {}, nullptr, Mode::Call, property), object, {}, nullptr, true);
  }
  impl.throwPending();
  return out;
}

void Runtime::set(const Value& self, std::string_view property, Value value) {
  Impl& impl = *impl_;
  ObjectHeader* object = selfObject(impl, self);
  if (findProperty(object->cls, property).property) {
    if (!writeProperty(impl, object, property, value, true))
      throw std::invalid_argument("property " + std::string(property) + " cannot be set to this value");
    impl.throwPending();
    return;
  }
  assign(self, property, {}, std::move(value));
}

void Runtime::assign(const Value& self, std::string_view member, std::vector<Value> args, Value value) {
  Impl& impl = *impl_;
  ObjectHeader* object = selfObject(impl, self);
  std::vector<Candidate> candidates = collect(object->cls, member, false);
  if (candidates.empty()) throw std::invalid_argument("class " + object->cls->name + " has no method " + std::string(member));
  const Candidate& chosen = choose(impl, candidates, args, &value, Mode::Assign, member);
  invoke(impl, chosen, object, args, &value, true);
  impl.throwPending();
}

Value Runtime::constant(std::string_view className, std::string_view name) {
  Impl& impl = *impl_;
  ClassInfo* cls = classNamed(impl, className);
  for (ClassInfo* c = cls; c; c = c->superclass)
    for (const ConstantInfo& k : c->constants)
      if (equalsIgnoringCase(k.name, name)) return literalValue(impl, hostType(k.type), k.value, c);
  throw std::invalid_argument("class " + cls->name + " has no constant " + std::string(name));
}

Value Runtime::callGlobal(std::string_view name, std::vector<Value> args) {
  Impl& impl = *impl_;
  std::vector<Candidate> candidates;
  for (const GlobalFunction& g : impl.globals)
    if (equalsIgnoringCase(g.declaration.name, name)) candidates.push_back({&g, nullptr});
  if (candidates.empty()) throw std::invalid_argument("no global function " + std::string(name));
  Value result = invoke(impl, choose(impl, candidates, args, nullptr, Mode::Call, name), nullptr, args, nullptr, true);
  impl.throwPending();
  return result;
}

const std::vector<MethodInfo>& Runtime::globalFunctions() const { return impl_->globals; }

bool Runtime::hasGlobal(std::string_view name) const {
  for (const GlobalFunction& g : impl_->globals)
    if (equalsIgnoringCase(g.declaration.name, name)) return true;
  return false;
}

}  // namespace host
