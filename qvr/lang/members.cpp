// Members of values: calls and properties of host objects (by name, the overload chosen
// by the host from the arguments), shared members and constants by class name, the
// language's array members, and the crossing of arrays between the language and the host.
#include "interpreter.h"

#include "classes.h"
#include "lexer.h"
#include "text.h"

#include <algorithm>

namespace qvrlang {

namespace {

// Whether every overload of the method takes no arguments and answers an array, so that
// arguments after it index its result.
bool indexesResult(host::ClassInfo* cls, const std::string& name) {
  bool any = false;
  for (host::ClassInfo* c = cls; c; c = c->superclass)
    for (const host::MethodInfo& m : c->methods)
      if (sameName(m.declaration.name, name)) {
        if (!m.declaration.parameters.empty() || !m.declaration.returnsArray) return false;
        any = true;
      }
  return any;
}

bool hasMethod(host::ClassInfo* cls, const std::string& name, bool shared) {
  for (host::ClassInfo* c = cls; c; c = c->superclass)
    for (const host::MethodInfo& m : shared ? c->sharedMethods : c->methods)
      if (sameName(m.declaration.name, name)) return true;
  return false;
}

bool hasProperty(host::ClassInfo* cls, const std::string& name) {
  for (host::ClassInfo* c = cls; c; c = c->superclass)
    for (const host::PropertyInfo& p : c->properties)
      if (sameName(p.name, name)) return true;
  return false;
}

// The host's array element code for a language element type, or -1.
int hostElementCode(const Type& t) {
  switch (t.kind) {
    case Type::Kind::Integer:
      if (t.integerBits == 32 && !t.isUnsigned) return host::kArrayInt32;
      if (t.integerBits == 64 && lowered(t.name) == "int64") return host::kArrayInt64;
      return t.integerBits == 64 ? host::kArrayInteger : -1;
    case Type::Kind::Double: return t.integerBits == 32 ? host::kArraySingle : host::kArrayDouble;
    case Type::Kind::String: return host::kArrayString;
    case Type::Kind::Boolean: return host::kArrayBoolean;
    case Type::Kind::Object: return host::kArrayObject;
    default: return -1;
  }
}

}  // namespace

Value Interpreter::fromHost(const host::Value& value) {
  if (value.kind == host::Value::Kind::Object && value.object) {
    host::ClassInfo* cls = value.object.get()->cls;
    if (!cls->name.empty() && cls->name.back() == ')') {
      std::string element = cls->name.substr(0, cls->name.size() - 2);
      Type type;
      if (lowered(element) == "object") {
        type.kind = Type::Kind::Object;
        type.name = "Object";
      } else {
        type = resolveType(rt_, element, false, {});
      }
      std::vector<Value> items;
      bool anyVariant = false;
      for (const host::Value& item : rt_.arrayElements(value)) {
        items.push_back(fromHost(item));
        anyVariant = anyVariant || items.back().variant;
      }
      // An array of boxed values is a Variant array.
      if (anyVariant) type = resolveType(rt_, "Variant", false, {});
      for (Value& item : items) item.variant = false;
      return makeArray(type, std::move(items));
    }
    // A Variant's value comes out as itself, read as a Variant.
    host::Value held = rt_.unboxed(value);
    if (held.kind != host::Value::Kind::Object) {
      Value out = fromHost(held);
      out.variant = true;
      return out;
    }
  }
  if (value.kind == host::Value::Kind::String && !value.string) return Value(rt_.string(""));
  return Value(value);
}

std::vector<host::Value> Interpreter::toHost(const std::vector<Value>& args, Position where,
                                             std::vector<std::pair<host::Value, Value>>& arrays) {
  std::vector<host::Value> out;
  for (const Value& a : args) {
    if (!a.isArray()) {
      out.push_back(a.v);
      continue;
    }
    int code = hostElementCode(a.array->elementType);
    if (code < 0) fail(where, "an array of " + a.array->elementType.describe() + " cannot be passed to the host");
    std::vector<host::Value> items;
    for (const Value& item : a.array->items) {
      if (item.isArray()) fail(where, "arrays of arrays cannot be passed to the host");
      items.push_back(item.v);
    }
    host::Value array = rt_.array(static_cast<host::ArrayElementType>(code), items);
    arrays.emplace_back(array, a);
    out.push_back(array);
  }
  return out;
}

// A host function may fill an array it was given: its elements come back.
void Interpreter::copyBack(const std::vector<std::pair<host::Value, Value>>& arrays) {
  for (const auto& [hostArray, array] : arrays) {
    std::vector<Value> items;
    for (const host::Value& item : rt_.arrayElements(hostArray)) items.push_back(fromHost(item));
    array.array->items = std::move(items);
  }
}

std::string Interpreter::overloads(host::ClassInfo* cls, const std::string& member, bool shared, const std::vector<Value>& args) {
  std::string given;
  for (const Value& a : args) given += (given.empty() ? "" : ", ") + typeNameOf(a);
  std::string out = " (given (" + given + ")";
  std::vector<std::string> declarations;
  for (host::ClassInfo* c = cls; c; c = c->superclass)
    for (const host::MethodInfo& m : shared ? c->sharedMethods : c->methods)
      if (sameName(m.declaration.name, member)) declarations.push_back(m.declarationText);
  if (!declarations.empty()) {
    out += "; declared: ";
    for (size_t i = 0; i < declarations.size(); ++i) out += (i ? " | " : "") + declarations[i];
  }
  return out + ")";
}

Value Interpreter::memberOf(const Value& object, const std::string& name, std::vector<Value> args, Position where,
                             const std::vector<ExprPtr>* argExprs) {
  // A Variant has Variant's members whatever it holds.
  if (object.variant) return variantMember(object, name, args, where);
  if (object.isArray()) return arrayMember(object, name, args, where);
  if (object.isNil()) raise("NilObjectException", "\"" + name + "\" was used on Nil", where);
  if (object.isObject()) {
    if (const ClassDefinition* cls = programClassOf(program_, rt_.classOf(object.v)); cls && !startsThread(object, name)) {
      bool found = false;
      Value result = programMember(object, *cls, name, args, where, argExprs, found);
      if (found) return result;
    }
    return hostMember(object, name, std::move(args), where, argExprs);
  }
  Value out;
  if (valueMember(object, name, args, where, out)) return out;
  fail(where, withArticle(typeNameOf(object)) + " has no member \"" + name + "\"");
}

Value Interpreter::hostMember(const Value& object, const std::string& name, std::vector<Value> args, Position where,
                              const std::vector<ExprPtr>* argExprs) {
  host::ClassInfo* cls = rt_.classOf(object.v);
  const bool method = hasMethod(cls, name, false);
  if (!args.empty() && !method && hasProperty(cls, name)) {
    // obj.Items(i): index the array a property holds.
    Value array = hostCall(where, [&] { return rt_.get(object.v, name); });
    if (!array.isArray()) fail(where, cls->name + "." + name + " is a property and takes no arguments");
    return index(array, args, where);
  }
  if (!method && !hasProperty(cls, name))
    fail(where, "class " + cls->name + " has no member \"" + name + "\"");
  // img.representations(0): a method without parameters that answers an array, indexed.
  if (method && !args.empty() && indexesResult(cls, name)) {
    Value array = hostCall(where, [&] { return rt_.call(object.v, name); }, [&] { return overloads(cls, name, false, {}); });
    return index(array, args, where);
  }
  const std::string declaration = method ? chooseHostOverload(cls, name, false, args, argExprs, where) : std::string();
  std::vector<std::pair<host::Value, Value>> arrays;
  std::vector<host::Value> hostArgs = toHost(args, where, arrays);
  Value result = hostCall(
      where,
      [&] {
        host::Value r = method ? rt_.call(object.v, declaration.empty() ? name : declaration, hostArgs) : rt_.get(object.v, name);
        copyBack(arrays);
        return r;
      },
      [&] { return method ? overloads(cls, name, false, args) : std::string(); });
  return result;
}

Value Interpreter::globalCall(const std::string& name, std::vector<Value> args, Position where) {
  std::vector<std::pair<host::Value, Value>> arrays;
  std::vector<host::Value> hostArgs = toHost(args, where, arrays);
  return hostCall(where, [&] {
    host::Value r = rt_.callGlobal(name, hostArgs);
    copyBack(arrays);
    return r;
  });
}

Value Interpreter::sharedMember(const std::string& className, const std::string& name, std::vector<Value> args,
                                Position where, const std::vector<ExprPtr>* argExprs) {
  host::ClassInfo* cls = rt_.findClass(className);
  if (const ClassDefinition* definition = programClassOf(program_, cls)) {
    ClassMember m = findMember(definition, name);
    if (m.kind == ClassMember::Kind::Constant) {
      if (!args.empty()) fail(where, cls->name + "." + name + " is a constant and takes no arguments");
      return programConstant(*m.owner, m.index, where);
    }
    if (m.kind == ClassMember::Kind::Method) {
      std::vector<const Function*> methods = methodsOf(definition, name);
      if (!methods.front()->isShared) fail(where, name + " belongs to instances of " + cls->name + "; call it on an instance");
      return invoke(methods, cls->name + "." + name, std::move(args), argExprs, where, false, nullptr);
    }
    if (m.kind == ClassMember::Kind::Property)
      fail(where, name + " belongs to instances of " + cls->name + "; use it on an instance");
  }
  if (lowered(className) == "variant" && args.empty()) return variantConstant(name, where);
  if (hasMethod(cls, name, true)) {
    const std::string declaration = chooseHostOverload(cls, name, true, args, argExprs, where);
    std::vector<std::pair<host::Value, Value>> arrays;
    std::vector<host::Value> hostArgs = toHost(args, where, arrays);
    return hostCall(
        where,
        [&] {
          host::Value r = rt_.callShared(cls->name, declaration.empty() ? name : declaration, hostArgs);
          copyBack(arrays);
          return r;
        },
        [&] { return overloads(cls, name, true, args); });
  }
  for (host::ClassInfo* c = cls; c; c = c->superclass)
    for (const host::ConstantInfo& k : c->constants)
      if (sameName(k.name, name)) {
        if (!args.empty()) fail(where, cls->name + "." + name + " is a constant and takes no arguments");
        return hostCall(where, [&] { return rt_.constant(cls->name, name); });
      }
  for (host::ClassInfo* c = cls; c; c = c->superclass)
    for (const host::PropertyInfo& p : c->sharedProperties)
      if (sameName(p.name, name)) {
        if (!p.nativeGetter) fail(where, "the shared property " + cls->name + "." + name + " cannot be read from here");
        std::vector<host::Value> none;
        return hostCall(where, [&] { return p.nativeGetter(rt_, host::Value::nil(), none); });
      }
  if (hasMethod(cls, name, false) || hasProperty(cls, name))
    fail(where, name + " belongs to instances of " + cls->name + "; call it on an instance");
  fail(where, "class " + cls->name + " has no shared member or constant \"" + name + "\"");
}

Value Interpreter::index(const Value& array, const std::vector<Value>& args, Position where) {
  if (!array.isArray()) fail(where, withArticle(typeNameOf(array)) + " cannot be indexed");
  if (args.size() != 1) fail(where, "an array takes one index");
  if (!args[0].isInteger()) fail(where, "an array index must be an Integer, not " + withArticle(typeNameOf(args[0])));
  int64_t i = args[0].integer();
  const auto& items = array.array->items;
  if (i < 0 || i >= static_cast<int64_t>(items.size()))
    raise("OutOfBoundsException",
          "index " + std::to_string(i) + " is outside the array (last index " + std::to_string(int64_t(items.size()) - 1) + ")", where);
  Value v = items[size_t(i)];
  v.variant = array.array->elementType.kind == Type::Kind::Variant;
  return v;
}

void Interpreter::setElement(const Value& array, const std::vector<Value>& args, Value value, Position where) {
  if (!array.isArray()) fail(where, withArticle(typeNameOf(array)) + " cannot be indexed");
  if (args.size() != 1) fail(where, "an array takes one index");
  if (!args[0].isInteger()) fail(where, "an array index must be an Integer, not " + withArticle(typeNameOf(args[0])));
  int64_t i = args[0].integer();
  auto& items = array.array->items;
  Value converted = convertTo(rt_, array.array->elementType, value, where, "an element of " + array.array->elementType.describe() + "()");
  if (i < 0 || i >= static_cast<int64_t>(items.size()))
    raise("OutOfBoundsException",
          "index " + std::to_string(i) + " is outside the array (last index " + std::to_string(int64_t(items.size()) - 1) + ")", where);
  items[size_t(i)] = std::move(converted);
}

Value Interpreter::arrayMember(const Value& array, const std::string& name, std::vector<Value>& args, Position where) {
  const std::string n = lowered(name);
  auto& items = array.array->items;
  const Type& element = array.array->elementType;
  auto expectArgs = [&](size_t count) {
    if (args.size() != count)
      fail(where, "array member " + name + " takes " + std::to_string(count) + " argument(s), not " + std::to_string(args.size()));
  };
  auto checkedIndex = [&](size_t i, bool allowEnd) {
    if (!args[i].isInteger()) fail(where, "an array index must be an Integer, not " + withArticle(typeNameOf(args[i])));
    int64_t at = args[i].integer();
    int64_t limit = static_cast<int64_t>(items.size()) - (allowEnd ? 0 : 1);
    if (at < 0 || at > limit)
      raise("OutOfBoundsException", "index " + std::to_string(at) + " is outside the array (last index " +
                                        std::to_string(int64_t(items.size()) - 1) + ")", where);
    return size_t(at);
  };
  if (n == "ubound" || n == "lastindex" || n == "lastrowindex") {
    expectArgs(0);
    return host::Value::ofInteger(int64_t(items.size()) - 1);
  }
  if (n == "count") {
    expectArgs(0);
    return host::Value::ofInteger(int64_t(items.size()));
  }
  if (n == "append" || n == "addrow" || n == "add") {
    expectArgs(1);
    items.push_back(convertTo(rt_, element, args[0], where, name));
    return host::Value::nil();
  }
  if (n == "insert" || n == "addat" || n == "addrowat") {
    expectArgs(2);
    size_t at = checkedIndex(0, true);
    Value v = convertTo(rt_, element, args[1], where, name);
    items.insert(items.begin() + static_cast<std::ptrdiff_t>(at), std::move(v));
    return host::Value::nil();
  }
  if (n == "remove" || n == "removeat" || n == "removerowat") {
    expectArgs(1);
    size_t at = checkedIndex(0, false);
    items.erase(items.begin() + static_cast<std::ptrdiff_t>(at));
    return host::Value::nil();
  }
  if (n == "removeall" || n == "removeallrows") {
    expectArgs(0);
    items.clear();
    return host::Value::nil();
  }
  if (n == "pop") {
    expectArgs(0);
    if (items.empty()) raise("OutOfBoundsException", "Pop on an empty array", where);
    Value last = items.back();
    items.pop_back();
    return last;
  }
  if (n == "indexof") {
    if (args.size() != 1 && args.size() != 2) expectArgs(1);
    size_t start = args.size() == 2 ? checkedIndex(1, true) : 0;
    for (size_t i = start; i < items.size(); ++i) {
      const Value& item = items[i];
      bool same = (item.isObject() || item.isNil()) && (args[0].isObject() || args[0].isNil())
                      ? item.v.object.get() == args[0].v.object.get()
                      : (item.isString() && args[0].isString()) || (item.isNumber() && args[0].isNumber()) ||
                                (item.isBoolean() && args[0].isBoolean()) || (item.isColor() && args[0].isColor())
                            ? equal(item, args[0], where)
                            : false;
      if (same) return host::Value::ofInteger(int64_t(i));
    }
    return host::Value::ofInteger(-1);
  }
  if (n == "resizeto" || n == "redim") {
    expectArgs(1);
    if (!args[0].isInteger()) fail(where, "an array's upper bound must be an Integer");
    int64_t upper = args[0].integer();
    checkUpperBound(upper, where);
    while (int64_t(items.size()) > upper + 1) items.pop_back();
    while (int64_t(items.size()) < upper + 1) items.push_back(defaultValue(rt_, element));
    return host::Value::nil();
  }
  // Sort, and SortWith, which moves the elements of the arrays it is given the same way.
  if (n == "sort" || n == "sortwith") {
    if (n == "sort") expectArgs(0);
    for (const Value& other : args) {
      if (!other.isArray()) fail(where, "SortWith takes arrays, not " + withArticle(typeNameOf(other)));
      if (other.array->items.size() != items.size())
        raise("OutOfBoundsException", "SortWith: the arrays have " + std::to_string(items.size()) + " and " +
                                          std::to_string(other.array->items.size()) + " elements", where);
    }
    std::vector<size_t> order(items.size());
    for (size_t i = 0; i < order.size(); ++i) order[i] = i;
    if (element.kind == Type::Kind::String) {
      std::vector<std::string> keys;
      for (Value& v : items) keys.push_back(text(v));
      std::stable_sort(order.begin(), order.end(), [&](size_t a, size_t b) { return compareText(keys[a], keys[b]) < 0; });
    } else if (element.kind == Type::Kind::Integer || element.kind == Type::Kind::Double) {
      std::stable_sort(order.begin(), order.end(), [&](size_t x, size_t y) {
        const Value& a = items[x];
        const Value& b = items[y];
        if (a.isInteger() && b.isInteger()) return a.integer() < b.integer();
        return a.real() < b.real();
      });
    } else {
      fail(where, "Sort sorts arrays of numbers and strings");
    }
    auto reorder = [&](std::vector<Value>& values) {
      std::vector<Value> sorted;
      for (size_t i : order) sorted.push_back(values[i]);
      values = std::move(sorted);
    };
    reorder(items);
    for (const Value& other : args) reorder(other.array->items);
    return host::Value::nil();
  }
  if (n == "shuffle") {
    expectArgs(0);
    for (size_t i = items.size(); i > 1; --i) std::swap(items[i - 1], items[size_t(randomUnit() * double(i)) % i]);
    return host::Value::nil();
  }
  fail(where, "an array has no member \"" + name + "\"");
}

// ---- classes the program defines

// Run of a Thread starts it (the program's Run is the handler the thread runs).
bool Interpreter::startsThread(const Value& object, const std::string& name) {
  host::ClassInfo* thread = rt_.findClass("Thread");
  return thread && lowered(name) == "run" && rt_.classOf(object.v)->isA(thread);
}

Value Interpreter::programMember(const Value& object, const ClassDefinition& cls, const std::string& name,
                                 std::vector<Value> args, Position where, const std::vector<ExprPtr>* argExprs, bool& found) {
  ClassMember m = findMember(&cls, name);
  found = m.kind != ClassMember::Kind::None;
  switch (m.kind) {
    case ClassMember::Kind::Property: {
      std::vector<Value>* values = propertiesOf(object, *m.owner);
      if (!values) raise("NilObjectException", "this " + cls.name + " has no properties", where);
      Value v = (*values)[m.index];
      if (!args.empty()) {
        if (!v.isArray()) fail(where, cls.name + "." + name + " is a property and takes no arguments");
        return index(v, args, where);
      }
      const Type t = resolveType(rt_, m.owner->properties[m.index].type);
      v.variant = t.kind == Type::Kind::Variant && !t.isArray;
      return v;
    }
    // The object's own class first: a method overrides the one of its name above it.
    case ClassMember::Kind::Method:
      return invoke(methodsOf(&cls, name), cls.name + "." + name, std::move(args), argExprs, where, false, &object);
    case ClassMember::Kind::Constant:
      if (!args.empty()) fail(where, cls.name + "." + name + " is a constant and takes no arguments");
      return programConstant(*m.owner, m.index, where);
    case ClassMember::Kind::None: break;
  }
  return Value();
}

bool Interpreter::setProgramProperty(const Value& object, const std::string& name, const std::vector<Value>& index,
                                     Value value, Position where) {
  const ClassDefinition* cls = programClassOf(program_, rt_.classOf(object.v));
  if (!cls) return false;
  ClassMember m = findMember(cls, name);
  if (m.kind == ClassMember::Kind::Constant) fail(where, "\"" + name + "\" is a constant of " + m.owner->name);
  if (m.kind == ClassMember::Kind::Method) fail(where, "\"" + name + "\" is a method of " + m.owner->name);
  if (m.kind != ClassMember::Kind::Property) return false;
  std::vector<Value>* values = propertiesOf(object, *m.owner);
  if (!values) raise("NilObjectException", "this " + cls->name + " has no properties", where);
  if (!index.empty()) {
    setElement((*values)[m.index], index, std::move(value), where);
    return true;
  }
  (*values)[m.index] = convertTo(rt_, resolveType(rt_, m.owner->properties[m.index].type), value, where, "\"" + name + "\"");
  return true;
}

Value Interpreter::programConstant(const ClassDefinition& owner, size_t index, Position where) {
  const DimItem& item = owner.constants.at(index)->items.at(0);
  Value value = evaluate(*item.initializer);
  if (!item.type.empty()) value = convertTo(rt_, resolveType(rt_, item.type), value, where, "\"" + item.name + "\"");
  return value;
}

// A new instance of a class of the host, made by its Constructor overload that the arguments
// choose.
Value Interpreter::hostObject(host::ClassInfo* cls, std::vector<Value> args, const std::vector<ExprPtr>* argExprs,
                              Position where) {
  if (!hasMethod(cls, "Constructor", false)) {
    Value object = hostCall(where, [&] { return rt_.newInstance(cls->name); });
    hostConstructor(object, std::move(args), argExprs, where);
    return object;
  }
  const std::string constructor = chooseHostOverload(cls, "Constructor", false, args, argExprs, where);
  return hostCall(
      where,
      [&] {
        std::vector<std::pair<host::Value, Value>> arrays;
        std::vector<host::Value> hostArgs = toHost(args, where, arrays);
        host::Value object = rt_.newInstance(cls->name, hostArgs, constructor);
        copyBack(arrays);
        return object;
      },
      [&] { return overloads(cls, "Constructor", false, args); });
}

// The host's Constructor run on an instance made without it: Super.Constructor(...) in a
// Constructor of the program's subclass of a host class. Exceptions take their message
// (and error number) as arguments.
void Interpreter::hostConstructor(const Value& object, std::vector<Value> args, const std::vector<ExprPtr>* argExprs,
                                  Position where) {
  host::ClassInfo* cls = rt_.classOf(object.v);
  if (hasMethod(cls, "Constructor", false)) {
    hostMember(object, "Constructor", std::move(args), where, argExprs);
    return;
  }
  if (args.empty()) return;
  host::ClassInfo* exceptionBase = rt_.findClass("RuntimeException");
  if (!exceptionBase || !cls->isA(exceptionBase)) fail(where, cls->name + " has no constructor that takes arguments");
  if (args.size() > 2 || !args[0].isString() || (args.size() == 2 && !args[1].isInteger()))
    fail(where, "New " + cls->name + " takes (message As String, errorNumber As Integer = 0)");
  hostCall(where, [&] {
    rt_.set(object.v, "Message", args[0].v);
    if (args.size() == 2) rt_.set(object.v, "ErrorNumber", args[1].v);
    return host::Value::nil();
  });
}

// Super.Name(...) in a method: the superclass's member, on the same instance.
Value Interpreter::superMember(const std::string& name, std::vector<Value> args, Position where,
                               const std::vector<ExprPtr>* argExprs) {
  const Function* method = frames().back().function;
  VariablePtr self = findVariable("self");
  if (!method || !method->owner || !self) fail(where, "Super is the superclass of a class's method's own class");
  const ClassDefinition* above = method->owner->superclass;
  std::vector<const Function*> methods = methodsOf(above, name);
  if (!methods.empty()) return invoke(methods, name, std::move(args), argExprs, where, false, &self->value);
  if (findMember(above, name).kind != ClassMember::Kind::None) return memberOf(self->value, name, std::move(args), where, argExprs);
  // An instance of a program class with a Constructor of its own is made without the
  // host's; this runs it.
  if (lowered(name) == "constructor") {
    hostConstructor(self->value, std::move(args), argExprs, where);
    return Value();
  }
  return hostMember(self->value, name, std::move(args), where, argExprs);
}

}  // namespace qvrlang
