// The tour of every registered member (tour.h): steps read from the registration records,
// values made from declared types, one fresh receiver per call, and the checks that a call
// gave back every object, string and lock it took.
#include "tour.h"

#include <algorithm>
#include <cstdio>
#include <functional>
#include <set>

#include "host/faults.h"

namespace tour {

namespace {

using host::Value;

std::string Lower(std::string text) {
  for (char& c : text) c = char(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

bool Contains(const std::string& text, const char* part) { return Lower(text).find(part) != std::string::npos; }

bool IsConstructor(const host::MethodInfo& m) { return Lower(m.declaration.name) == "constructor"; }

const std::vector<const host::MethodInfo*> ConstructorsOf(const host::ClassInfo* cls) {
  std::vector<const host::MethodInfo*> found;
  for (const host::ClassInfo* c = cls; c && found.empty(); c = c->superclass)
    for (const host::MethodInfo& m : c->methods)
      if (IsConstructor(m)) found.push_back(&m);
  return found;
}

bool IsIntegerType(const std::string& t) {
  static const std::set<std::string> names = {"integer", "int8", "int16",  "int32", "int64", "uint8",
                                              "uint16",  "uint32", "uint64", "byte", "short", "long"};
  return names.count(t) > 0;
}

host::ArrayElementType ElementType(const std::string& t) {
  if (t == "int32") return host::kArrayInt32;
  if (t == "int64") return host::kArrayInt64;
  if (IsIntegerType(t)) return host::kArrayInteger;
  if (t == "double") return host::kArrayDouble;
  if (t == "single") return host::kArraySingle;
  if (t == "boolean") return host::kArrayBoolean;
  if (t == "string") return host::kArrayString;
  return host::kArrayObject;
}

// Nesting of instances made as arguments of instances: deep enough for an image made of a
// representation, shallow enough to end.
thread_local int tDepth = 0;

// A value of the declared type and the parameter's name: a real one (tour.h) or a nil one.
Value ValueOf(TourHost& host, const host::Parameter& p, bool nil) {
  host::Runtime& rt = *host.runtime;
  const std::string t = Lower(p.type);
  if (p.isArray && nil) return Value::nil();
  if (p.isArray) {
    host::Parameter element = p;
    element.isArray = false;
    return rt.array(ElementType(t), {ValueOf(host, element, false)});
  }
  if (!nil) {
    if (t == "memoryblock") return rt.memoryBlock(host.png.data(), host.png.size());
    if (t == "folderitem") return rt.folderItem(host.pngPath);
    if (t == "variant") return Value::ofInteger(4);
    if (t == "object") return rt.newInstance("Dictionary");
    if (host::ClassInfo* cls = rt.findClass(t)) return RealInstance(host, cls);
  }
  if (IsIntegerType(t)) {
    // Integers that carry a pointer: a Core Graphics context is one the host can give (a
    // Picture's Graphics.Handle(2)); other handles (icons, ...) have no real value here.
    if (!nil && Contains(p.name, "context")) return Value::ofInteger(host.graphicsContext);
    const bool handle = Contains(p.name, "handle") || Contains(p.name, "ref") || Contains(p.name, "ptr");
    return Value::ofInteger(nil || handle ? 0 : 4);
  }
  if (t == "double" || t == "currency") return Value::ofDouble(nil ? 0 : 3);
  if (t == "single") return Value::ofSingle(nil ? 0 : 3);
  if (t == "boolean") return Value::ofBoolean(!nil);
  if (t == "color") return Value::ofColor(nil ? 0 : 0x336699);
  if (t == "ptr") {
    static unsigned char scratch[1 << 16];
    return Value::ofPtr(nil ? nullptr : scratch);
  }
  if (nil) return t == "string" ? rt.string("") : Value::nil();
  if (Contains(p.name, "url")) return rt.string("file://" + host.pngPath);
  if (Contains(p.name, "path")) return rt.string(host.pngPath);
  if (Contains(p.name, "data")) return rt.string(host.png, host::kEncodingUnknown);
  return rt.string("qvr");
}

// What a setter step assigns: the property, or a method's last ("assigns") parameter or its result.
host::Parameter AssignedParameter(const Step& step) {
  if (step.property) return {step.property->name, step.property->type, false, false, {}};
  const std::vector<host::Parameter>& params = step.method->declaration.parameters;
  if (!params.empty() && params.back().assigns) return params.back();
  return {"", step.method->declaration.returnType, false, false, {}};
}

// An instance through one of its class's shared factories or constructors, real
// arguments all through; null when none gives one.
Value MadeInstance(TourHost& host, const host::ClassInfo* cls) {
  host::Runtime& rt = *host.runtime;
  std::vector<const host::MethodInfo*> constructors = ConstructorsOf(cls);
  // Constructors taking data-like values first: they make a real image, and the host's New
  // makes the instance, so no entry point is needed for it.
  std::stable_partition(constructors.begin(), constructors.end(), [](const host::MethodInfo* m) {
    for (const host::Parameter& p : m->declaration.parameters)
      if (Lower(p.type) == "memoryblock" || Lower(p.type) == "folderitem" || Lower(p.type) == "picture") return true;
    return false;
  });
  for (const host::MethodInfo* m : constructors) {
    if (m->declaration.parameters.empty()) continue;
    try {
      return rt.newInstance(cls->name, Arguments(host, *m));
    } catch (const std::exception&) {
    }
  }
  for (const host::MethodInfo& m : cls->sharedMethods) {
    host::ClassInfo* result = rt.findClass(m.declaration.returnType);
    if (m.declaration.returnsArray || !result || !result->isA(cls)) continue;
    try {
      Value made = rt.callShared(cls->name, m.declarationText, Arguments(host, m));
      if (!made.isNil()) return made;
    } catch (const std::exception&) {
    }
  }
  return Value::nil();
}

}  // namespace

std::string Step::label() const {
  std::string member = method ? method->declarationText : property->name + (kind == Kind::Setter ? " (set)" : " (get)");
  return owner->name + "." + member + (nilArguments ? " [nil]" : "");
}

bool Neutral(const std::string& result) {
  static const std::set<std::string> neutral = {"nil",   "int:0", "bool:0",  "real:0",
                                                "str:0", "ptr:0", "block:0", "done"};
  return neutral.count(result) > 0 || result.rfind("raise:", 0) == 0;
}

TourHost::TourHost(host::Options options) {
  const bool siblings = options.siblings;
  runtime = std::make_unique<host::Runtime>(std::move(options));
  if (siblings) runtime->loadPlugin(support::LibraryPath("libQVRSiblings.so"));
  const size_t before = runtime->classes().size();
  runtime->loadPlugin(support::LibraryPath("libNSImageQVR.so"));
  const std::vector<host::ClassInfo*> all = runtime->classes();
  pluginClasses.assign(all.begin() + long(before), all.end());
  canvas = runtime->newInstance("Picture", {Value::ofInteger(40), Value::ofInteger(30)});
  graphicsContext = runtime->call(runtime->get(canvas, "Graphics"), "Handle", {Value::ofInteger(2)}).integer;
  png = support::ReadBytes(std::string(QVR_SOURCE_TREE) + "/platform/fuzz/corpus/png/rgba.png");
  folder.write("rgba.png", png);  // the tour's own file, so parallel tests do not share one
  pngPath = folder.path("rgba.png");
}

std::vector<Step> Steps(const TourHost& host) {
  std::vector<Step> steps;
  for (const host::ClassInfo* cls : host.pluginClasses) {
    for (bool nil : {false, true}) {
      for (const host::MethodInfo& m : cls->methods) {
        const bool assigns = !m.declaration.parameters.empty() && m.declaration.parameters.back().assigns;
        steps.push_back({assigns ? Step::Kind::Setter : Step::Kind::Method, cls, &m, nullptr, nil});
      }
      for (const host::MethodInfo& m : cls->sharedMethods) steps.push_back({Step::Kind::Shared, cls, &m, nullptr, nil});
      for (const host::PropertyInfo& p : cls->properties) {
        if (!nil && (p.getter || p.nativeGetter)) steps.push_back({Step::Kind::Getter, cls, nullptr, &p, false});
        if (p.setter || p.nativeSetter) steps.push_back({Step::Kind::Setter, cls, nullptr, &p, nil});
      }
    }
  }
  return steps;
}

std::vector<Value> Arguments(TourHost& host, const host::MethodInfo& m, bool nil) {
  std::vector<Value> args;
  for (const host::Parameter& p : m.declaration.parameters)
    if (!p.assigns) args.push_back(ValueOf(host, p, nil));
  return args;
}

Value RealInstance(TourHost& host, const host::ClassInfo* cls) {
  host::Runtime& rt = *host.runtime;
  Value made;
  if (tDepth < 3) {
    ++tDepth;
    made = MadeInstance(host, cls);
    // A base class with no factory of its own: the first subclass that has one.
    for (const host::ClassInfo* sub : host.pluginClasses)
      if (made.isNil() && sub != cls && sub->superclass == cls) made = MadeInstance(host, sub);
    --tDepth;
  }
  if (made.isNil()) made = rt.newInstance(cls->name);
  return made;
}

std::string Summary(host::Runtime& rt, const Value& value, bool deep) {
  char text[64];
  const auto sized = [deep](const char* kind, const std::string& bytes) {
    return kind + std::to_string(bytes.size()) + (deep ? ":" + std::to_string(std::hash<std::string>()(bytes)) : "");
  };
  switch (value.kind) {
    case Value::Kind::Nil: return "nil";
    case Value::Kind::Boolean: return value.boolean ? "bool:1" : "bool:0";
    case Value::Kind::Single:
    case Value::Kind::Double:
      std::snprintf(text, sizeof text, "real:%g", value.real);
      return text;
    case Value::Kind::String: return sized("str:", rt.bytes(value));
    case Value::Kind::Ptr: return value.pointer ? "ptr:1" : "ptr:0";
    case Value::Kind::Color:
      std::snprintf(text, sizeof text, "color:%llx", static_cast<unsigned long long>(value.integer));
      return text;
    case Value::Kind::Object: {
      if (!value.object) return "nil";
      const std::string cls = support::ClassName(rt, value);
      if (Lower(cls) == "memoryblock") return sized("block:", rt.memoryBlockBytes(value));
      if (deep && cls == "NSImageQVR") {
        std::snprintf(text, sizeof text, ":%gx%g", rt.get(value, "width").real, rt.get(value, "height").real);
        Value tiff = rt.call(value, "TIFFRepresentationUsingCompression(comp as integer, factor as double) as Memoryblock",
                             {Value::ofInteger(1), Value::ofDouble(0)});
        return "obj:" + cls + text + ":" + Summary(rt, tiff, true);
      }
      return "obj:" + cls;
    }
    default: return "int:" + std::to_string(value.integer);
  }
}

Outcome Run(TourHost& host, const Step& step, const std::function<void(const std::function<void()>&)>& around) {
  host::Runtime& rt = *host.runtime;
  Outcome out;
  const support::LiveCounts before = support::Live(rt);
  long locks = 0;
  {
    Value self, result, assigned;
    std::vector<Value> args;
    std::function<void()> body;
    const std::string& cls = step.owner->name;
    try {
      if (step.method && IsConstructor(*step.method)) {
        // Real arguments: the host's New with them; nil ones: on an instance made bare.
        args = Arguments(host, *step.method, step.nilArguments);
        if (step.nilArguments) self = host::faults::bareInstance(rt, cls);
        body = [&] {
          if (step.nilArguments) rt.call(self, step.method->declarationText, args);
          else result = rt.newInstance(cls, args);
        };
      } else {
        if (step.kind != Step::Kind::Shared) self = RealInstance(host, step.owner);
        try {
          out.receiver = Summary(rt, self, true);
        } catch (const host::HostException& e) {  // a host lacking what the summary uses
          out.receiver = Summary(rt, self) + ":raise:" + e.className();
        }
        if (step.method) args = Arguments(host, *step.method, step.nilArguments);
        if (step.kind == Step::Kind::Setter) assigned = ValueOf(host, AssignedParameter(step), step.nilArguments);
        body = [&] {
          switch (step.kind) {
            case Step::Kind::Method: result = rt.call(self, step.method->declarationText, args); break;
            case Step::Kind::Shared: result = rt.callShared(cls, step.method->declarationText, args); break;
            case Step::Kind::Getter: result = rt.get(self, step.property->name); break;
            case Step::Kind::Setter:
              if (step.method) rt.assign(self, step.method->declarationText, args, assigned);
              else rt.set(self, step.property->name, assigned);
              out.result = "done";
              break;
          }
        };
      }
    } catch (const std::exception& e) {
      out.problem = std::string("the tour could not make the call's values: ") + e.what();
      return out;
    }
    try {
      if (around) {
        around(body);
      } else {
        host::faults::arm();
        body();
        host::faults::disarm();
      }
      // A Handle is an address, which differs from run to run: only whether there is one counts.
      if (out.result.empty() && step.kind == Step::Kind::Getter && step.property->name == "Handle")
        out.result = result.integer != 0 ? "handle" : "int:0";
      if (out.result.empty()) out.result = Summary(rt, result);
      if (out.result.rfind("block:", 0) == 0) out.bytes = rt.memoryBlockBytes(result);
    } catch (const host::HostException& e) {
      out.result = "raise:" + e.className();
    } catch (const host::ThrownObject& e) {
      out.problem = "a platform exception escaped: " + e.className();
    } catch (const std::exception& e) {
      out.problem = std::string("the call failed in the host: ") + e.what();
    }
    host::faults::disarm();
    locks = host::faults::openLocks();
  }
  if (out.problem.empty() && !(support::Live(rt) == before))
    out.problem = "live counts went from " + support::Describe(before) + " to " + support::Describe(support::Live(rt));
  if (out.problem.empty() && locks > 0) out.problem = std::to_string(locks) + " locks not given back";
  return out;
}

std::vector<Twin> ThreadedTwins(const TourHost& host) {
  std::vector<Twin> twins;
  for (const host::ClassInfo* cls : host.pluginClasses)
    for (bool shared : {false, true})
      for (const host::MethodInfo& m : shared ? cls->sharedMethods : cls->methods) {
        const std::string& name = m.declaration.name;
        if (name.size() < 3 || name.compare(name.size() - 2, 2, "MT") != 0) continue;
        const std::string direct = name.substr(0, name.size() - 2);
        for (const host::MethodInfo& d : shared ? cls->sharedMethods : cls->methods) {
          const std::vector<host::Parameter>& a = d.declaration.parameters;
          const std::vector<host::Parameter>& b = m.declaration.parameters;
          const auto sameType = [](const host::Parameter& x, const host::Parameter& y) {
            return Lower(x.type) == Lower(y.type);
          };
          if (d.declaration.name == direct && std::equal(a.begin(), a.end(), b.begin(), b.end(), sameType))
            twins.push_back({cls, &m, &d, shared});
        }
      }
  return twins;
}

}  // namespace tour
