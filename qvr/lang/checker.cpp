// The checker: walks every statement of the main program and of each Sub and Function
// with the scopes the interpreter will have, typing each expression by declared types,
// so a typo or a type error in a branch that a test run never takes is still reported
// before the program starts, at its line and column.
#include "checker.h"

#include "classes.h"

#include "lexer.h"
#include "values.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <set>
#include <vector>

namespace qvrlang {

namespace {

// What the checker knows of an expression: its declared type, Nil, or nothing (a value
// whose type only running shows, such as some results of the built-ins).
struct Static {
  enum class Is { Unknown, Nil, Typed };
  Is is = Is::Unknown;
  Type type;

  bool known() const { return is == Is::Typed; }
  bool isValue(Type::Kind k) const { return known() && !type.isArray && type.kind == k; }
  bool numeric() const { return isValue(Type::Kind::Integer) || isValue(Type::Kind::Double); }
  bool variant() const { return isValue(Type::Kind::Variant); }
  std::string describe() const { return is == Is::Nil ? "Nil" : withArticle(type.describe()); }
};

Static typed(const Type& t) {
  Static s;
  s.is = Static::Is::Typed;
  s.type = t;
  return s;
}

Static nilValue() {
  Static s;
  s.is = Static::Is::Nil;
  return s;
}

bool isMemoryBlock(const Type& t) { return t.kind == Type::Kind::Object && !t.isArray && t.cls && t.cls->name == "MemoryBlock"; }

// Results of the built-ins whose type never varies.
const char* builtinResult(const std::string& name) {
  static const std::map<std::string, const char*> kResults = {
      {"str", "String"},      {"cstr", "String"},     {"format", "String"},  {"left", "String"},
      {"right", "String"},    {"mid", "String"},      {"trim", "String"},    {"ltrim", "String"},
      {"rtrim", "String"},    {"uppercase", "String"}, {"lowercase", "String"}, {"titlecase", "String"},
      {"chr", "String"},      {"hex", "String"},      {"oct", "String"},     {"bin", "String"},
      {"replace", "String"},  {"replaceall", "String"}, {"nthfield", "String"}, {"join", "String"},
      {"len", "Integer"},     {"lenb", "Integer"},    {"instr", "Integer"},  {"asc", "Integer"},
      {"countfields", "Integer"}, {"strcomp", "Integer"}, {"ubound", "Integer"}, {"ticks", "Integer"},
      {"val", "Double"},      {"cdbl", "Double"},     {"sqrt", "Double"},    {"round", "Double"},
      {"floor", "Double"},    {"ceil", "Double"},     {"ceiling", "Double"}, {"pow", "Double"},
      {"microseconds", "Double"}, {"isnumeric", "Boolean"}, {"rgb", "Color"}, {"hsv", "Color"}, {"cmy", "Color"},
      {"leftb", "String"}, {"rightb", "String"}, {"midb", "String"}, {"chrb", "String"}, {"endofline", "String"},
      {"replacelineendings", "String"}, {"instrb", "Integer"}, {"ascb", "Integer"}, {"sign", "Integer"},
      {"clong", "Integer"}, {"bitwiseand", "Integer"}, {"bitwiseor", "Integer"}, {"bitwisexor", "Integer"},
      {"bitwise.bitand", "Integer"}, {"bitwise.bitor", "Integer"}, {"bitwise.bitxor", "Integer"},
      {"bitwise.onescomplement", "Integer"}, {"bitwise.shiftleft", "Integer"}, {"bitwise.shiftright", "Integer"},
      {"asin", "Double"}, {"acos", "Double"}, {"rnd", "Double"},
      {"sin", "Double"}, {"cos", "Double"}, {"tan", "Double"}, {"atan", "Double"}, {"atan2", "Double"},
      {"exp", "Double"}, {"log", "Double"},
      {"targetlinux", "Boolean"}, {"targetmacos", "Boolean"}, {"targetwindows", "Boolean"}, {"targetwin32", "Boolean"},
      {"targetcocoa", "Boolean"}, {"targetcarbon", "Boolean"}, {"targetmacho", "Boolean"}, {"targetios", "Boolean"},
      {"targetdesktop", "Boolean"}, {"targethasgui", "Boolean"}, {"targetconsole", "Boolean"}, {"targetweb", "Boolean"},
      {"targetx86", "Boolean"}, {"targetarm", "Boolean"}, {"target32bit", "Boolean"}, {"target64bit", "Boolean"},
      {"targetlittleendian", "Boolean"}, {"targetbigendian", "Boolean"}, {"debugbuild", "Boolean"},
      {"xojoversion", "Double"}, {"rbversion", "Double"},
      {"system.ticks", "Integer"}, {"system.microseconds", "Double"}, {"system.environmentvariable", "String"},
      {"app.executablefile", "FolderItem"}, {"integer.fromstring", "Integer"}, {"double.fromstring", "Double"},
      {"color.rgb", "Color"}, {"color.hsv", "Color"}, {"color.cmy", "Color"}, {"color.black", "Color"},
      {"color.white", "Color"}, {"color.red", "Color"}, {"color.green", "Color"}, {"color.blue", "Color"},
      {"color.cyan", "Color"}, {"color.magenta", "Color"}, {"color.yellow", "Color"}, {"color.gray", "Color"},
      {"color.darkgray", "Color"}, {"color.lightgray", "Color"}, {"color.orange", "Color"}, {"color.purple", "Color"},
      {"color.brown", "Color"}, {"color.teal", "Color"}, {"color.clear", "Color"}, {"endofline.windows", "String"}, {"endofline.unix", "String"}, {"endofline.macintosh", "String"},
      {"endofline.native", "String"},
  };
  auto it = kResults.find(lowered(name));
  return it == kResults.end() ? nullptr : it->second;
}

class Checker {
 public:
  Checker(host::Runtime& rt, const Program& program) : rt_(rt), program_(program) {}

  StaticTypes run() {
    // Constants of the main program are visible in every method.
    for (const StmtPtr& s : program_.main)
      if (s->kind == Stmt::Kind::Const) globalConstants_[lowered(s->items[0].name)] = Static();
    scopes_.assign(1, {});
    block(program_.main, false);
    for (const auto& [name, f] : program_.functions) method(*f);
    for (const auto& c : program_.classes) {
      scopes_.assign(1, {});
      constants_.clear();
      inMethod_ = true;
      for (const StmtPtr& constant : c->constants) expression(*constant->items[0].initializer);
      for (const DimItem& item : c->properties) {
        const Type declared = resolveType(rt_, item.type);
        if (item.size) expression(*item.size);
        if (item.initializer) stores(declared, expression(*item.initializer), item.initializer->where, "\"" + item.name + "\"");
        for (const ExprPtr& a : item.newArgs) expression(*a);
      }
      for (const auto& [name, f] : c->methods) method(*f);
    }
    return std::move(types_);
  }

 private:
  // A Sub or Function: its parameters and, in a class's method, Self and Me are its first
  // variables.
  void method(const Function& f) {
    scopes_.assign(1, {});
    constants_.clear();
    inMethod_ = true;
    class_ = f.owner;
    if (f.owner && !f.isShared)
      for (const char* self : {"Self", "Me"}) declare(self, f.where, true, typed(resolveType(rt_, f.owner->name, false, f.where)));
    for (const Parameter& p : f.parameters) {
      Type t = resolveType(rt_, p.type);
      if (p.defaultValue) stores(t, expression(*p.defaultValue), p.defaultValue->where, "parameter " + p.name);
      declare(p.name, p.where, false, typed(t));
    }
    if (f.isFunction) type(f.returnType);
    result_ = f.isFunction ? typed(resolveType(rt_, f.returnType)) : Static();
    method_ = f.owner ? f.owner->name + "." + f.name : f.name;
    block(f.body, true);
    class_ = nullptr;
  }

  Static type(const TypeName& t) {
    if (t.empty()) return Static();
    return typed(resolveType(rt_, t));
  }

  Static named(const char* typeName) { return typed(resolveType(rt_, typeName, false, {})); }

  // A type as host declarations write it; a name this checker cannot resolve is unknown.
  Static hostType(const std::string& name, bool isArray) {
    if (name.empty()) return Static();
    try {
      return typed(resolveType(rt_, name, isArray, {}));
    } catch (const ProgramError&) {
      return Static();
    }
  }

  void classNamed(const std::string& name, Position where) {
    host::ClassInfo* cls = rt_.findClass(name);
    if (!cls || cls->name.back() == ')') fail(where, "unknown class \"" + name + "\"");
  }

  const Static* variable(const std::string& name) const {
    const std::string k = lowered(name);
    for (auto scope = scopes_.rbegin(); scope != scopes_.rend(); ++scope) {
      auto it = scope->find(k);
      if (it != scope->end()) return &it->second;
    }
    if (inMethod_) {
      auto it = globalConstants_.find(k);
      if (it != globalConstants_.end()) return &it->second;
    }
    return nullptr;
  }

  bool isVariable(const std::string& name) const { return variable(name) != nullptr; }

  bool isFunction(const std::string& name) const { return program_.functions.count(lowered(name)) != 0; }

  bool isClass(const std::string& name) const {
    host::ClassInfo* cls = rt_.findClass(name);
    return cls && cls->name.back() != ')';
  }

  // e names a class, not a variable or method of that name.
  bool isClassName(const Expr& e) const {
    return e.kind == Expr::Kind::Name && !isVariable(e.text) && !isFunction(e.text) && isClass(e.text);
  }

  void declare(const std::string& name, Position where, bool constant, Static type = Static()) {
    const std::string k = lowered(name);
    for (const auto& scope : scopes_)
      if (scope.count(k)) fail(where, "\"" + name + "\" is already declared");
    if (isFunction(name)) fail(where, "\"" + name + "\" is the name of a method");
    scopes_.back()[k] = type;
    if (constant) constants_.insert(k);
    if (constant && scopes_.size() == 1 && !inMethod_) globalConstants_[k] = type;
  }

  // Whether a value of static type value may be stored where declared is wanted, as the
  // host's compiler allows it: numbers into numbers, a Variant into anything (checked
  // when it runs), a String and a MemoryBlock into each other, an object into its class
  // and superclasses (a superclass or Object into a subclass needs a cast).
  std::string refusal(const Type& declared, const Static& value) {
    if (!value.known() && value.is != Static::Is::Nil) return "";
    if (declared.kind == Type::Kind::Variant && !declared.isArray) return "";
    if (value.is == Static::Is::Nil)
      return declared.isArray || declared.kind == Type::Kind::Object || declared.kind == Type::Kind::Ptr ? "" : "x";
    const Type& v = value.type;
    if (v.kind == Type::Kind::Variant && !v.isArray) return declared.isArray ? "x" : "";
    if (declared.isArray != v.isArray) return "x";
    if (declared.isArray) {
      if (declared.kind != v.kind) return declared.kind == Type::Kind::Variant ? "" : "x";
      if (declared.kind == Type::Kind::Object && declared.cls && v.cls && !v.cls->isA(declared.cls)) return "x";
      return "";
    }
    switch (declared.kind) {
      case Type::Kind::Integer:
      case Type::Kind::Double: return value.numeric() ? "" : "x";
      case Type::Kind::String: return v.kind == Type::Kind::String || isMemoryBlock(v) ? "" : "x";
      case Type::Kind::Boolean: return v.kind == Type::Kind::Boolean ? "" : "x";
      case Type::Kind::Color: return v.kind == Type::Kind::Color ? "" : "x";
      case Type::Kind::Ptr: return v.kind == Type::Kind::Ptr || v.kind == Type::Kind::Object ? "" : "x";
      case Type::Kind::Object:
        if (isMemoryBlock(declared) && v.kind == Type::Kind::String) return "";
        if (v.kind != Type::Kind::Object) return "x";
        if (!declared.cls) return "";
        if (!v.cls || declared.cls->isA(v.cls))
          return v.cls == declared.cls ? "" : "; cast it with " + declared.cls->name + "(...)";
        return v.cls->isA(declared.cls) ? "" : "x";
      default: return "";
    }
  }

  void stores(const Type& declared, const Static& value, Position where, const std::string& what) {
    std::string why = refusal(declared, value);
    if (why.empty()) return;
    const bool instance = value.known() && value.type.kind == Type::Kind::Object && value.type.cls && !value.type.isArray &&
                          declared.kind == Type::Kind::Object && !declared.isArray;
    fail(where, what + " expects " + withArticle(declared.describe()) + " but got " +
                    (instance ? "an instance of " + value.type.name : value.describe()) + (why == "x" ? "" : why));
  }

  void condition(const Expr& e, const char* what) {
    Static k = expression(e);
    if (k.known() && !k.isValue(Type::Kind::Boolean) && !k.variant())
      fail(e.where, std::string(what) + " expects a Boolean but got " + k.describe());
  }

  void block(const Block& statements, bool inMethod) {
    inMethod_ = inMethod;
    for (const StmtPtr& s : statements) statement(*s);
  }

  void scoped(const Block& statements) {
    scopes_.emplace_back();
    for (const StmtPtr& s : statements) statement(*s);
    scopes_.pop_back();
  }

  void statement(const Stmt& s) {
    switch (s.kind) {
      case Stmt::Kind::Dim:
        for (const DimItem& item : s.items) {
          Type declared = resolveType(rt_, item.type);
          if (item.size) expression(*item.size);
          if (item.initializer) stores(declared, expression(*item.initializer), item.initializer->where, "\"" + item.name + "\"");
          std::vector<Static> given;
          for (const ExprPtr& a : item.newArgs) given.push_back(expression(*a));
          if (item.isNew && declared.cls && !programConstructor(declared.cls->name, item.newArgs, item.type.where))
            hostArguments(declared.cls, "Constructor", false, item.newArgs, item.type.where, given);
          declare(item.name, item.where, false, typed(declared));
        }
        return;
      case Stmt::Kind::Const: {
        Static value = expression(*s.items[0].initializer);
        if (!s.items[0].type.empty()) {
          Type declared = resolveType(rt_, s.items[0].type);
          stores(declared, value, s.items[0].initializer->where, "\"" + s.items[0].name + "\"");
          value = typed(declared);
        }
        declare(s.items[0].name, s.items[0].where, true, value);
        return;
      }
      case Stmt::Kind::Assign: {
        Static value = expression(*s.value);
        if (s.target->kind == Expr::Kind::Name) {
          const std::string& n = s.target->text;
          if (constants_.count(lowered(n)) || (inMethod_ && globalConstants_.count(lowered(n)) && !isLocal(n)))
            fail(s.target->where, "\"" + n + "\" is a constant");
          if (!isVariable(n)) {
            if (isFunction(n)) fail(s.target->where, "\"" + n + "\" is a method; return a result with Return");
            fail(s.target->where, "unknown variable \"" + n + "\"; declare it with Dim or Var");
          }
          const Static target = *variable(n);
          if (!s.compound && target.known()) stores(target.type, value, s.value->where, "\"" + n + "\"");
          types_[s.target.get()] = target.type;
        } else {
          Static target = expression(*s.target);
          if (!s.compound && target.known() && (s.target->kind == Expr::Kind::Call || s.target->kind == Expr::Kind::Member))
            stores(target.type, value, s.value->where, s.target->kind == Expr::Kind::Member ? s.target->text : "this element");
        }
        return;
      }
      case Stmt::Kind::Call: {
        // The head of a call statement may be a Sub; anywhere else a value is wanted.
        const Expr& e = *s.value;
        if (e.kind == Expr::Kind::Name && isFunction(e.text) && !isVariable(e.text)) {
          arguments(e.text, e.args, e.where, false);
        } else if (e.kind == Expr::Kind::Call && e.left->kind == Expr::Kind::Name && isFunction(e.left->text) &&
                   !isVariable(e.left->text)) {
          arguments(e.left->text, e.args, e.where, false);
        } else {
          if (e.kind == Expr::Kind::Name && isVariable(e.text)) fail(e.where, "\"" + e.text + "\" is a variable, not something to call");
          expression(e, true);
        }
        return;
      }
      case Stmt::Kind::If:
        for (size_t i = 0; i < s.conditions.size(); ++i) {
          condition(*s.conditions[i], "If");
          scoped(s.blocks[i]);
        }
        if (s.hasElse) scoped(s.elseBlock);
        return;
      case Stmt::Kind::For:
      case Stmt::Kind::ForEach: {
        Static collection = expression(*s.value);
        if (s.target) expression(*s.target);
        if (s.step) expression(*s.step);
        scopes_.emplace_back();
        forLoops_.push_back(lowered(s.name));
        if (!s.type.empty()) {
          Static t = type(s.type);
          if (s.kind == Stmt::Kind::ForEach && collection.known() && collection.type.isArray)
            stores(t.type, typed(collection.type.element()), s.value->where, "the loop variable " + s.name);
          declare(s.name, s.where, false, t);
        } else if (!isVariable(s.name)) {
          fail(s.where, "unknown variable \"" + s.name + "\"; write For " + std::string(s.kind == Stmt::Kind::ForEach ? "Each " : "") +
                            s.name + " As Type ...");
        }
        scoped(s.body);
        scopes_.pop_back();
        forLoops_.pop_back();
        return;
      }
      case Stmt::Kind::While:
        condition(*s.value, "While");
        scoped(s.body);
        return;
      case Stmt::Kind::Do:
        if (s.preCondition) condition(*s.preCondition, "Do");
        scoped(s.body);
        if (s.postCondition) condition(*s.postCondition, "Loop");
        return;
      case Stmt::Kind::Select:
        expression(*s.value);
        for (const CaseBlock& c : s.cases) {
          for (const CaseClause& clause : c.clauses) {
            if (clause.kind == CaseClause::Kind::IsA) {
              classNamed(clause.className, clause.where);
              continue;
            }
            expression(*clause.first);
            if (clause.last) expression(*clause.last);
          }
          scoped(c.body);
        }
        return;
      case Stmt::Kind::Try:
        if (s.methodScope) {
          for (const StmtPtr& inner : s.body) statement(*inner);
        } else {
          scoped(s.body);
        }
        for (const CatchBlock& c : s.catches) {
          if (!c.className.empty()) classNamed(c.className, c.where);
          scopes_.emplace_back();
          if (!c.variable.empty())
            declare(c.variable, c.where, false, named(c.className.empty() ? "RuntimeException" : c.className.c_str()));
          scoped(c.body);
          scopes_.pop_back();
        }
        if (s.hasFinally) scoped(s.finallyBlock);
        return;
      case Stmt::Kind::Raise:
        if (s.value) expression(*s.value);
        return;
      case Stmt::Kind::Return:
        if (s.value) {
          Static value = expression(*s.value);
          if (inMethod_ && result_.known()) stores(result_.type, value, s.value->where, "the result of " + method_);
        }
        return;
      case Stmt::Kind::Redim:
        expression(*s.target);
        expression(*s.value);
        return;
      case Stmt::Kind::Exit:
      case Stmt::Kind::Continue:
        if (!s.name.empty() && std::find(forLoops_.begin(), forLoops_.end(), lowered(s.name)) == forLoops_.end())
          fail(s.where, std::string(s.kind == Stmt::Kind::Exit ? "Exit" : "Continue") + " For " + s.name + ": no enclosing For loop counts with " + s.name);
        return;
    }
  }

  bool isLocal(const std::string& name) const {
    const std::string k = lowered(name);
    for (const auto& scope : scopes_)
      if (scope.count(k)) return true;
    return false;
  }

  // A call of the program's own method: the definition the arguments' declared types
  // choose (a ParamArray takes any number of its element type); where a value is
  // wanted it must be a Function. Answers the result's type.
  Static arguments(const std::string& method, const std::vector<ExprPtr>& args, Position where, bool wantValue) {
    std::vector<const Function*> candidates;
    auto range = program_.functions.equal_range(lowered(method));
    for (auto it = range.first; it != range.second; ++it) candidates.push_back(it->second.get());
    return arguments(method, candidates, args, where, wantValue);
  }

  // The same for a method of a class (its overloads and what they override, nearest first).
  Static arguments(const std::string& method, const std::vector<const Function*>& candidates, const std::vector<ExprPtr>& args,
                   Position where, bool wantValue) {
    std::vector<Static> given;
    for (const ExprPtr& a : args) given.push_back(expression(*a));
    const Function* chosen = nullptr;
    const Function* countFits = nullptr;
    size_t most = 0, fewest = SIZE_MAX, fitting = 0;
    bool unbounded = false;
    for (const Function* candidate : candidates) {
      const Function& f = *candidate;
      const bool paramArray = !f.parameters.empty() && f.parameters.back().paramArray;
      size_t required = 0;
      for (const Parameter& p : f.parameters)
        if (!p.defaultValue && !p.optional && !p.paramArray) ++required;
      const size_t fixed = f.parameters.size() - (paramArray ? 1 : 0);
      most = std::max(most, fixed);
      unbounded = unbounded || paramArray;
      fewest = std::min(fewest, required);
      if (given.size() < required || (!paramArray && given.size() > f.parameters.size())) continue;
      countFits = &f;
      bool fits = true;
      for (size_t i = 0; i < given.size() && fits; ++i) {
        const Parameter& p = f.parameters[std::min(i, f.parameters.size() - 1)];
        Type t = resolveType(rt_, p.type);
        // A ParamArray takes its elements, or one array of them.
        if (p.paramArray && !(given.size() == fixed + 1 && given[i].known() && given[i].type.isArray)) t = t.element();
        fits = refusal(t, given[i]).empty();
      }
      // An override has the signature of what it overrides: one choice, not two.
      if (fits && !(chosen && sameSignature(*chosen, f))) {
        ++fitting;
        if (!chosen) chosen = &f;
      }
    }
    if (!countFits) {
      if (given.size() > most && !unbounded)
        fail(where, method + " takes at most " + std::to_string(most) + " argument(s) but was given " + std::to_string(given.size()));
      fail(where, method + " needs at least " + std::to_string(fewest) + " argument(s) but was given " + std::to_string(given.size()));
    }
    if (!chosen) {
      if (candidates.size() == 1) {
        const Function& f = *countFits;
        for (size_t i = 0; i < given.size(); ++i) {
          const Parameter& p = f.parameters[std::min(i, f.parameters.size() - 1)];
          Type t = resolveType(rt_, p.type);
          if (p.paramArray) t = t.element();
          stores(t, given[i], args[i]->where, "parameter " + p.name + " of " + method);
        }
      }
      std::string types;
      for (const Static& g : given) types += (types.empty() ? "" : ", ") + (g.known() ? g.type.describe() : g.is == Static::Is::Nil ? "Nil" : "?");
      fail(where, "no version of " + method + " takes (" + types + ")");
    }
    if (wantValue && !chosen->isFunction) fail(where, method + " is a Sub and has no value");
    return fitting == 1 && chosen->isFunction ? typed(resolveType(rt_, chosen->returnType)) : Static();
  }

  static bool sameSignature(const Function& a, const Function& b) {
    if (a.isFunction != b.isFunction || lowered(a.returnType.describe()) != lowered(b.returnType.describe()) ||
        a.parameters.size() != b.parameters.size())
      return false;
    for (size_t i = 0; i < a.parameters.size(); ++i)
      if (lowered(a.parameters[i].type.describe()) != lowered(b.parameters[i].type.describe())) return false;
    return true;
  }

  // The methods of a class (and its superclasses) by that name.
  static std::vector<const host::MethodInfo*> methodsNamed(host::ClassInfo* cls, const std::string& name, bool shared) {
    std::vector<const host::MethodInfo*> out;
    for (host::ClassInfo* c = cls; c; c = c->superclass)
      for (const host::MethodInfo& m : shared ? c->sharedMethods : c->methods)
        if (lowered(m.declaration.name) == lowered(name)) out.push_back(&m);
    return out;
  }

  std::vector<const host::MethodInfo*> globalsNamed(const std::string& name) const {
    std::vector<const host::MethodInfo*> out;
    for (const host::MethodInfo& m : rt_.globalFunctions())
      if (lowered(m.declaration.name) == lowered(name)) out.push_back(&m);
    return out;
  }

  // The results of the declarations that take count arguments.
  void methodResults(const std::vector<const host::MethodInfo*>& methods, size_t count, std::vector<Static>& results) {
    for (const host::MethodInfo* m : methods) {
      size_t ordinary = m->declaration.parameters.size(), required = 0;
      if (ordinary && m->declaration.parameters.back().assigns) --ordinary;
      for (size_t i = 0; i < ordinary; ++i)
        if (!m->declaration.parameters[i].defaultValue) ++required;
      if (count >= required && count <= ordinary) results.push_back(hostType(m->declaration.returnType, m->declaration.returnsArray));
    }
  }

  // The one type all results agree on, or unknown.
  static Static agreed(const std::vector<Static>& results) {
    if (results.empty()) return Static();
    for (const Static& r : results)
      if (!r.known() || r.type.describe() != results[0].type.describe()) return Static();
    return results[0];
  }

  // The type of a host global function called with these arguments.
  Static globalCall(const std::string& name, const std::vector<ExprPtr>& args, Position where, const std::vector<Static>& given) {
    const auto methods = globalsNamed(name);
    hostArguments(methods, name, args, where, given);
    std::vector<Static> results;
    methodResults(methods, given.size(), results);
    return agreed(results);
  }

  // The type of a host class member called with count arguments: the result the
  // matching declarations agree on, or unknown. found tells whether the class has it.
  Static hostMember(host::ClassInfo* cls, const std::string& name, size_t count, bool shared, bool& found) {
    std::vector<Static> results;
    const auto methods = methodsNamed(cls, name, shared);
    found = !methods.empty();
    methodResults(methods, count, results);
    const std::string k = lowered(name);
    for (host::ClassInfo* c = cls; c; c = c->superclass) {
      for (const host::PropertyInfo& p : shared ? c->sharedProperties : c->properties)
        if (lowered(p.name) == k) {
          found = true;
          Static t = hostType(p.type, false);
          if (count == 0) results.push_back(t);
        }
      if (shared)
        for (const host::ConstantInfo& constant : c->constants)
          if (lowered(constant.name) == k) {
            found = true;
            results.push_back(hostType(constant.type, false));
          }
    }
    return agreed(results);
  }

  void hostArguments(host::ClassInfo* cls, const std::string& name, bool shared, const std::vector<ExprPtr>& args,
                     Position where, const std::vector<Static>& given) {
    hostArguments(methodsNamed(cls, name, shared), cls->name + "." + name, args, where, given);
  }

  // The arguments of a host method call against its declarations: when some declaration
  // takes that many arguments but none takes their declared types, a type error (the
  // host's compiler finds it too). Counts that fit no declaration are left to the host's
  // own message when the call runs.
  void hostArguments(const std::vector<const host::MethodInfo*>& methods, const std::string& member,
                     const std::vector<ExprPtr>& args, Position where, const std::vector<Static>& given) {
    struct Candidate {
      const host::MethodInfo* method;
      std::vector<Static> parameters;
    };
    std::vector<Candidate> counted;
    bool anyTakes = false;
    for (const host::MethodInfo* method : methods) {
      const host::MethodInfo& m = *method;
      const auto& parameters = m.declaration.parameters;
      if (!parameters.empty() && parameters.back().assigns) continue;
      size_t required = 0;
      for (const host::Parameter& p : parameters)
        if (!p.defaultValue) ++required;
      if (given.size() < required || given.size() > parameters.size()) continue;
      Candidate candidate{&m, {}};
      bool takes = true;
      for (size_t i = 0; i < given.size(); ++i) {
        candidate.parameters.push_back(hostType(parameters[i].type, parameters[i].isArray));
        const Static& p = candidate.parameters.back();
        // A host Color parameter also takes an Integer (its RGB word).
        if (p.known() && !(p.isValue(Type::Kind::Color) && given[i].isValue(Type::Kind::Integer)))
          takes = takes && refusal(p.type, given[i]).empty();
      }
      anyTakes = anyTakes || takes;
      counted.push_back(std::move(candidate));
    }
    if (counted.empty() || anyTakes) return;
    if (counted.size() == 1)
      for (size_t i = 0; i < given.size(); ++i)
        if (counted[0].parameters[i].known())
          stores(counted[0].parameters[i].type, given[i], args[i]->where,
                 "parameter " + counted[0].method->declaration.parameters[i].name + " of " + member);
    std::string types;
    for (const Static& g : given) types += (types.empty() ? "" : ", ") + (g.known() ? g.type.describe() : g.is == Static::Is::Nil ? "Nil" : "?");
    std::string declared;
    for (const Candidate& c : counted) declared += (declared.empty() ? "" : " | ") + c.method->declarationText;
    fail(where, "no version of " + member + " takes (" + types + "); declared: " + declared);
  }

  // A member of a value of static type t (with count arguments, called or not).
  Static memberOfType(const Static& t, const Expr& e, size_t count) {
    if (!t.known()) return Static();
    if (t.variant()) {
      const char* result = variantMemberType(e.text);
      if (!*result) fail(e.where, "Variant has no member \"" + e.text + "\"; convert the value first (IntegerValue, StringValue, ObjectValue, a cast ...)");
      return named(result);
    }
    if (t.type.isArray) {
      const std::string n = lowered(e.text);
      if (n == "ubound" || n == "lastindex" || n == "count" || n == "indexof" || n == "lastrowindex") return named("Integer");
      if (n == "pop") return typed(t.type.element());
      return Static();
    }
    if (t.type.kind == Type::Kind::Object && !t.type.cls)
      fail(e.where, "an Object has no member \"" + e.text + "\"; cast it to its class first: ClassName(value)." + e.text);
    if (t.type.kind == Type::Kind::Object && t.type.cls) {
      bool found = false;
      Static result = hostMember(t.type.cls, e.text, count, false, found);
      if (!found) fail(e.where, "class " + t.type.cls->name + " has no member \"" + e.text + "\"");
      return result;
    }
    return valueMemberOf(t, e);
  }

  // The members the language gives Strings, numbers, Booleans and Colours (valueMember in
  // builtins.cpp) and the types they answer; any other member is an error.
  Static valueMemberOf(const Static& t, const Expr& e) {
    static const std::map<std::string, const char*> kString = {
        {"length", "Integer"}, {"len", "Integer"}, {"lenb", "Integer"}, {"bytes", "Integer"}, {"instr", "Integer"},
        {"instrb", "Integer"}, {"indexof", "Integer"}, {"countfields", "Integer"}, {"asc", "Integer"}, {"ascb", "Integer"},
        {"tointeger", "Integer"}, {"val", "Double"}, {"todouble", "Double"}, {"contains", "Boolean"}, {"beginswith", "Boolean"},
        {"endswith", "Boolean"}, {"encoding", "TextEncoding"}, {"split", "String()"}, {"tostringarray", "String()"},
        {"mid", "String"}, {"ltrim", "String"}, {"rtrim", "String"}, {"leftb", "String"}, {"rightb", "String"}, {"midb", "String"},
        {"uppercase", "String"}, {"lowercase", "String"}, {"titlecase", "String"}, {"trim", "String"}, {"trimleft", "String"},
        {"trimright", "String"}, {"left", "String"}, {"right", "String"}, {"replace", "String"}, {"replaceall", "String"},
        {"nthfield", "String"}, {"middle", "String"}, {"convertencoding", "String"}, {"defineencoding", "String"},
    };
    static const std::map<std::string, const char*> kColor = {
        {"red", "Integer"}, {"green", "Integer"}, {"blue", "Integer"}, {"alpha", "Integer"}, {"tostring", "String"}};
    const std::string n = lowered(e.text);
    const char* result = nullptr;
    if (t.isValue(Type::Kind::String)) {
      auto it = kString.find(n);
      result = it == kString.end() ? nullptr : it->second;
    } else if (t.numeric()) {
      if (n == "abs") return t;
      if (n == "tostring" || n == "totext" || (n == "tohex" && t.isValue(Type::Kind::Integer))) result = "String";
    } else if (t.isValue(Type::Kind::Boolean)) {
      if (n == "tostring") result = "String";
    } else if (t.isValue(Type::Kind::Color)) {
      auto it = kColor.find(n);
      result = it == kColor.end() ? nullptr : it->second;
    } else if (t.isValue(Type::Kind::Ptr)) {
      result = pointerMemberType(e.text);
    } else {
      return Static();
    }
    if (!result) fail(e.where, t.describe() + " has no member \"" + e.text + "\"");
    const std::string r = result;
    return r.back() == ')' ? typed(resolveType(rt_, r.substr(0, r.size() - 2), true, {})) : named(result);
  }

  const ClassDefinition* programClass(const Static& object) const {
    if (!object.known() || object.type.isArray || object.type.kind != Type::Kind::Object) return nullptr;
    return programClassOf(program_, object.type.cls);
  }

  bool isSuper(const Expr& e) const { return e.kind == Expr::Kind::Name && lowered(e.text) == "super" && !isVariable(e.text); }

  // A member of a class the program defines (shared: named on the class): a property
  // (indexed when it has arguments), a method checked as the program's Subs and
  // Functions are, a constant. found tells whether the class has it.
  Static programMember(const ClassDefinition* cls, const Expr& member, const std::vector<ExprPtr>* args, bool wantValue,
                       bool shared, bool& found) {
    static const std::vector<ExprPtr> kNone;
    const std::vector<ExprPtr>& given = args ? *args : kNone;
    ClassMember m = findMember(cls, member.text);
    found = m.kind != ClassMember::Kind::None;
    const std::string qualified = cls->name + "." + member.text;
    switch (m.kind) {
      case ClassMember::Kind::Property: {
        if (shared) fail(member.where, member.text + " belongs to instances of " + cls->name + "; use it on an instance");
        const Type t = resolveType(rt_, m.owner->properties[m.index].type);
        if (given.empty()) return typed(t);
        for (const ExprPtr& a : given) expression(*a);
        if (!t.isArray) fail(member.where, qualified + " is a property and takes no arguments");
        return typed(t.element());
      }
      case ClassMember::Kind::Method: {
        std::vector<const Function*> methods = methodsOf(cls, member.text);
        if (shared && !methods.front()->isShared)
          fail(member.where, member.text + " belongs to instances of " + cls->name + "; call it on an instance");
        return arguments(qualified, methods, given, member.where, wantValue);
      }
      case ClassMember::Kind::Constant: {
        if (!given.empty()) fail(member.where, qualified + " is a constant and takes no arguments");
        const DimItem& item = m.owner->constants[m.index]->items[0];
        return item.type.empty() ? expression(*item.initializer) : typed(resolveType(rt_, item.type));
      }
      case ClassMember::Kind::None: break;
    }
    return Static();
  }

  // Super.Name in a method: the superclass's member (unknown when a class of the host has it).
  Static superMember(const Expr& member, const std::vector<ExprPtr>* args, bool wantValue) {
    if (!class_ || !isVariable("Self")) fail(member.left->where, "Super is used in the methods of a class");
    bool found = false;
    if (class_->superclass) {
      Static result = programMember(class_->superclass, member, args, wantValue, false, found);
      if (found) return result;
    }
    if (args)
      for (const ExprPtr& a : *args) expression(*a);
    return Static();
  }

  // The constructor arguments of New for a class the program defines with a Constructor.
  bool programConstructor(const std::string& className, const std::vector<ExprPtr>& args, Position where) {
    const ClassDefinition* cls = programClassOf(program_, rt_.findClass(className));
    if (!cls) return false;
    std::vector<const Function*> constructors = methodsOf(cls, "Constructor");
    if (constructors.empty()) return false;
    arguments(cls->name + ".Constructor", constructors, args, where, false);
    return true;
  }

  // A name: a variable, a method, a built-in function; a class only before a ".".
  void name(const Expr& e, bool receiver) {
    if (isVariable(e.text)) return;
    if (lowered(e.text) == "self" || lowered(e.text) == "me")
      fail(e.where, "Self and Me are the instance in the methods of a class");
    if (isFunction(e.text)) {
      arguments(e.text, {}, e.where, true);
      return;
    }
    if (isBuiltinFunction(e.text) || rt_.hasGlobal(e.text)) return;
    if (const char* module = moduleNamed(e.text))
      fail(e.where, std::string(module) + " is used through its members (" + e.text + "." +
                        (lowered(e.text) == "system" ? "DebugLog" : lowered(e.text) == "app" ? "ExecutableFile" : lowered(e.text) == "bitwise" ? "BitAnd" : "WriteLine") + ", ...)");
    if (isClass(e.text)) {
      if (receiver) return;
      fail(e.where, "\"" + e.text + "\" is a class; make an instance with New " + e.text);
    }
    fail(e.where, "unknown name \"" + e.text + "\"");
  }

  Static expression(const Expr& e, bool statement = false) {
    Static t = typeOf(e, statement);
    if (t.known()) types_[&e] = t.type;
    return t;
  }

  Static typeOf(const Expr& e, bool statement) {
    switch (e.kind) {
      case Expr::Kind::Integer: return named("Integer");
      case Expr::Kind::Double: return named("Double");
      case Expr::Kind::String: return named("String");
      case Expr::Kind::Color: return named("Color");
      case Expr::Kind::Boolean: return named("Boolean");
      case Expr::Kind::Nil: return nilValue();
      case Expr::Kind::Name:
        name(e, false);
        if (const Static* v = variable(e.text)) return *v;
        if (isFunction(e.text)) return arguments(e.text, {}, e.where, !statement);
        if (const char* r = builtinResult(e.text)) return named(r);
        if (!isBuiltinFunction(e.text) && rt_.hasGlobal(e.text)) return globalCall(e.text, {}, e.where, {});
        return Static();
      case Expr::Kind::Member: {
        if (const std::string qualified = moduleMember(e); !qualified.empty()) return builtinCall(qualified, e, {});
        if (isSuper(*e.left)) return superMember(e, nullptr, !statement);
        if (const Expr& group = *e.left; group.kind == Expr::Kind::Member && isClassName(*group.left)) {
          host::ClassInfo* cls = rt_.findClass(group.left->text);
          bool found = false;
          if (const std::string k = groupedConstant(cls, group.text, e.text); !k.empty()) return hostMember(cls, k, 0, true, found);
        }
        if (isClassName(*e.left)) {
          if (lowered(e.left->text) == "variant") return named("Integer");  // Variant.TypeString and its siblings
          bool found = false;
          if (const ClassDefinition* cls = programClassOf(program_, rt_.findClass(e.left->text))) {
            Static result = programMember(cls, e, nullptr, !statement, true, found);
            if (found) return result;
          }
          return hostMember(rt_.findClass(e.left->text), e.text, 0, true, found);
        }
        if (e.left->kind == Expr::Kind::Name) name(*e.left, true);
        Static object = expression(*e.left);
        if (const ClassDefinition* cls = programClass(object)) {
          bool found = false;
          Static result = programMember(cls, e, nullptr, !statement, false, found);
          if (found) return result;
        }
        return memberOfType(object, e, 0);
      }
      case Expr::Kind::Call: {
        if (e.left->kind == Expr::Kind::Name) {
          const std::string& n = e.left->text;
          if (const Static* v = variable(n)) {
            for (const ExprPtr& a : e.args) expression(*a);
            if (v->known() && !v->type.isArray && !v->variant()) fail(e.where, "\"" + n + "\" is " + v->describe() + ", not an array or a method");
            return v->known() && v->type.isArray ? typed(v->type.element()) : Static();
          }
          if (isFunction(n)) return arguments(n, e.args, e.where, !statement);
          if (lowered(n) == "ctype") return ctype(e);
          std::vector<Static> given;
          for (const ExprPtr& a : e.args) given.push_back(expression(*a));
          if (isBuiltinFunction(n)) return builtinCall(n, e, given);
          if (rt_.hasGlobal(n)) return globalCall(n, e.args, e.where, given);
          if (isClass(n)) return cast(e);
          if (isValueType(n))
            fail(e.left->where, n + " is a type, not a function: convert with CType(value, " + n + ") or by assigning to " +
                                    withArticle(n) + " variable");
          fail(e.left->where, "unknown method \"" + n + "\"");
        }
        if (e.left->kind == Expr::Kind::Member) {
          const Expr& m = *e.left;
          std::vector<Static> given;
          for (const ExprPtr& a : e.args) given.push_back(expression(*a));
          if (const std::string qualified = moduleMember(m); !qualified.empty()) return builtinCall(qualified, e, given);
          if (isSuper(*m.left)) return superMember(m, &e.args, !statement);
          if (m.left->kind == Expr::Kind::Name && !isVariable(m.left->text) && !isFunction(m.left->text) && isClass(m.left->text)) {
            bool found = false;
            if (const ClassDefinition* cls = programClassOf(program_, rt_.findClass(m.left->text))) {
              Static result = programMember(cls, m, &e.args, !statement, true, found);
              if (found) return result;
            }
            hostArguments(rt_.findClass(m.left->text), m.text, true, e.args, e.where, given);
            return hostMember(rt_.findClass(m.left->text), m.text, e.args.size(), true, found);
          }
          if (m.left->kind == Expr::Kind::Name) name(*m.left, true);
          Static object = expression(*m.left);
          if (const ClassDefinition* cls = programClass(object)) {
            bool found = false;
            Static result = programMember(cls, m, &e.args, !statement, false, found);
            if (found) return result;
          }
          if (object.known() && object.type.kind == Type::Kind::Object && object.type.cls && !object.type.isArray)
            hostArguments(object.type.cls, m.text, false, e.args, e.where, given);
          Static result = memberOfType(object, m, e.args.size());
          if (object.known() && object.type.kind == Type::Kind::Object && object.type.cls && !object.type.isArray && !result.known())
            return Static();
          // obj.Items(i) on an array property: the element.
          if (result.known() && result.type.isArray && !e.args.empty() && isProperty(object, m.text)) return typed(result.type.element());
          return result;
        }
        Static target = expression(*e.left);
        for (const ExprPtr& a : e.args) expression(*a);
        return target.known() && target.type.isArray ? typed(target.type.element()) : Static();
      }
      case Expr::Kind::New: {
        classNamed(e.text, e.where);
        std::vector<Static> given;
        for (const ExprPtr& a : e.args) given.push_back(expression(*a));
        if (!programConstructor(e.text, e.args, e.where)) hostArguments(rt_.findClass(e.text), "Constructor", false, e.args, e.where, given);
        return named(e.text.c_str());
      }
      case Expr::Kind::IsA:
        classNamed(e.text, e.where);
        expression(*e.left);
        return named("Boolean");
      case Expr::Kind::ArrayLiteral: {
        std::vector<Static> given;
        for (const ExprPtr& a : e.args) given.push_back(expression(*a));
        return arrayOf(e, given);
      }
      case Expr::Kind::IfExpression: {
        condition(*e.args[0], "If(...)");
        Static a = expression(*e.args[1]), b = expression(*e.args[2]);
        return a.known() && b.known() && a.type.describe() == b.type.describe() ? a : Static();
      }
      case Expr::Kind::Unary: {
        Static k = expression(*e.left);
        if (!k.known() || k.variant()) return Static();
        if (e.op == Op::Negate) {
          if (!k.numeric()) fail(e.where, "cannot negate " + k.describe());
          return k;
        }
        if (!k.isValue(Type::Kind::Boolean) && !k.isValue(Type::Kind::Integer))
          fail(e.where, "Not expects a Boolean or an Integer but got " + k.describe());
        return k;
      }
      case Expr::Kind::Binary:
        return binary(e);
    }
    return Static();
  }

  // The arguments of a built-in against what it takes, with the message its own check
  // gives when the program runs: S a String (a MemoryBlock converts), N a number, I an
  // Integer (any number converts), by the count of arguments where that varies.
  void builtinArguments(const std::string& k, const Expr& e, const std::vector<Static>& given) {
    static const std::map<std::string, std::pair<const char*, std::vector<const char*>>> kTakes = {
        {"print", {"Print", {"S"}}}, {"msgbox", {"MsgBox", {"S"}}}, {"len", {"Len", {"S"}}}, {"lenb", {"LenB", {"S"}}},
        {"val", {"Val", {"S"}}}, {"asc", {"Asc", {"S"}}}, {"trim", {"Trim", {"S"}}}, {"ltrim", {"LTrim", {"S"}}},
        {"rtrim", {"RTrim", {"S"}}}, {"uppercase", {"Uppercase", {"S"}}}, {"lowercase", {"Lowercase", {"S"}}},
        {"titlecase", {"Titlecase", {"S"}}}, {"left", {"Left", {"SI"}}}, {"right", {"Right", {"SI"}}},
        {"mid", {"Mid", {"SI", "SII"}}}, {"instr", {"InStr", {"SS", "ISS"}}}, {"replace", {"Replace", {"SSS"}}},
        {"replaceall", {"ReplaceAll", {"SSS"}}}, {"split", {"Split", {"S", "SS"}}}, {"countfields", {"CountFields", {"SS"}}},
        {"nthfield", {"NthField", {"SSI"}}}, {"strcomp", {"StrComp", {"SS", "SSI"}}}, {"chr", {"Chr", {"I"}}},
        {"hex", {"Hex", {"I"}}}, {"oct", {"Oct", {"I"}}}, {"bin", {"Bin", {"I"}}}, {"format", {"Format", {"NS"}}},
        {"sqrt", {"Sqrt", {"N"}}}, {"round", {"Round", {"N"}}}, {"floor", {"Floor", {"N"}}}, {"ceil", {"Ceil", {"N"}}},
        {"pow", {"Pow", {"NN"}}}, {"sign", {"Sign", {"N"}}}, {"system.debuglog", {"System.DebugLog", {"S"}}},
        {"system.environmentvariable", {"System.EnvironmentVariable", {"S"}}}, {"stdout.write", {"Write", {"S"}}},
        {"stdout.writeline", {"WriteLine", {"S"}}}, {"stderr.write", {"Write", {"S"}}}, {"stderr.writeline", {"WriteLine", {"S"}}},
        {"integer.fromstring", {"Integer.FromString", {"S"}}}, {"double.fromstring", {"Double.FromString", {"S"}}},
    };
    auto it = kTakes.find(k);
    if (it == kTakes.end()) return;
    for (const char* takes : it->second.second) {
      if (std::string(takes).size() != given.size()) continue;
      for (size_t i = 0; i < given.size(); ++i) {
        const Static& g = given[i];
        if (!g.known() || g.variant()) continue;
        const bool text = g.isValue(Type::Kind::String) || (isMemoryBlock(g.type) && !g.type.isArray);
        const char want = takes[i];
        if (want == 'S' && !text)
          fail(e.where, std::string(it->second.first) + " expects a String for argument " + std::to_string(i + 1) + " but got " +
                            g.describe() + (g.numeric() ? "; convert it with Str" : ""));
        if (want != 'S' && !g.numeric())
          fail(e.where, std::string(it->second.first) + " expects " + (want == 'N' ? "a number" : "an Integer") + " for argument " +
                            std::to_string(i + 1) + " but got " + g.describe() + (g.isValue(Type::Kind::String) && want == 'N' ? "; convert it with Val" : ""));
      }
    }
  }

  // A built-in function's result: fixed for most, by the arguments for some.
  Static builtinCall(const std::string& name, const Expr& e, const std::vector<Static>& given) {
    const std::string k = lowered(name);
    builtinArguments(k, e, given);
    if (k == "array") return arrayOf(e, given);
    if (k == "split") return typed(resolveType(rt_, "String", true, {}));
    if (k == "abs" || k == "max" || k == "min") {
      bool integers = true;
      for (const Static& g : given) {
        if (!g.numeric()) return Static();
        integers = integers && g.isValue(Type::Kind::Integer);
      }
      return named(integers ? "Integer" : "Double");
    }
    const char* r = builtinResult(name);
    return r ? named(r) : Static();
  }

  // Array(a, b, ...): an array of the values' type, as the host's compiler infers it:
  // Integers (Doubles when any value is a floating number), Strings, Booleans, Colours, or
  // objects of their nearest common class (Nil fits any class). Values of kinds that do
  // not mix are a type error; a value typed only when running leaves the array untyped.
  Static arrayOf(const Expr& e, const std::vector<Static>& given) {
    const Static* first = nullptr;
    bool anyReal = false;
    host::ClassInfo* common = nullptr;
    bool anyObject = false;
    for (size_t i = 0; i < given.size(); ++i) {
      const Static& g = given[i];
      if (g.is == Static::Is::Nil) continue;
      if (!g.known() || g.variant() || g.type.isArray) return Static();
      if (!first) first = &g;
      const bool mixes = g.numeric() ? first->numeric() : g.type.kind == first->type.kind;
      if (!mixes || g.type.kind == Type::Kind::Ptr)
        fail(e.args[i]->where, "Array cannot hold " + first->describe() + " and " + g.describe() + " together");
      anyReal = anyReal || g.isValue(Type::Kind::Double);
      if (g.type.kind == Type::Kind::Object) {
        host::ClassInfo* cls = g.type.cls;
        if (!anyObject) common = cls;
        while (common && cls && !cls->isA(common)) common = common->superclass;
        if (!cls) common = nullptr;
        anyObject = true;
      }
    }
    if (!first) return Static();
    if (first->numeric()) return typed(resolveType(rt_, anyReal ? "Double" : "Integer", true, {}));
    if (anyObject) return typed(resolveType(rt_, common ? common->name : std::string("Object"), true, {}));
    Type t = first->type;
    t.isArray = true;
    return typed(t);
  }

  // Integer, Double, String, ...: the language's value types.
  bool isValueType(const std::string& name) const {
    try {
      return resolveType(rt_, name, false, {}).kind != Type::Kind::Object || lowered(name) == "object";
    } catch (const ProgramError&) {
      return false;
    }
  }

  // The built-in modules and objects used through their members, as messages name them.
  static const char* moduleNamed(const std::string& name) {
    static const std::map<std::string, const char*> kModules = {
        {"bitwise", "the Bitwise module"}, {"system", "the System module"}, {"stdout", "StdOut"},
        {"stderr", "StdErr"}, {"app", "the App object"},
    };
    auto it = kModules.find(lowered(name));
    return it == kModules.end() ? nullptr : it->second;
  }

  // Module.Function (Bitwise.BitAnd): the built-in's qualified name, or "".
  std::string moduleMember(const Expr& member) const {
    if (member.left->kind != Expr::Kind::Name || isVariable(member.left->text) || isFunction(member.left->text)) return "";
    const std::string qualified = lowered(member.left->text) + "." + lowered(member.text);
    if (isBuiltinFunction(qualified)) return qualified;
    if (const char* module = moduleNamed(member.left->text)) fail(member.where, std::string(module) + " has no member \"" + member.text + "\"");
    return "";
  }

  bool isProperty(const Static& object, const std::string& name) const {
    for (host::ClassInfo* c = object.type.cls; c; c = c->superclass)
      for (const host::PropertyInfo& p : c->properties)
        if (lowered(p.name) == lowered(name)) return true;
    return false;
  }

  // ClassName(value): the value as that class. Only objects (and Variants and Nil) cast.
  Static cast(const Expr& e) {
    const std::string& n = e.left->text;
    if (e.args.size() != 1)
      fail(e.left->where, "\"" + n + "\" is a class; make an instance with New " + n + "(...), or cast one value with " + n + "(value)");
    Static value = types_.count(e.args[0].get()) ? typed(types_[e.args[0].get()]) : Static();
    if (e.args[0]->kind == Expr::Kind::Nil) value = nilValue();
    Static result = named(n.c_str());
    if (value.known() && !value.variant() && (value.type.isArray || value.type.kind != Type::Kind::Object))
      fail(e.args[0]->where, "cannot cast " + value.describe() + " to " + result.type.name + "; only objects cast to a class");
    return result;
  }

  // CType(value, Type): the conversions the interpreter makes (ctype in interpreter.cpp).
  Static ctype(const Expr& e) {
    if (e.args.size() != 2 || e.args[1]->kind != Expr::Kind::Name) fail(e.where, "CType takes a value and a type: CType(value, Integer)");
    const Static value = expression(*e.args[0]);
    const Type type = resolveType(rt_, e.args[1]->text, false, e.args[1]->where);
    if (!value.known() || value.variant() || type.kind == Type::Kind::Variant) return typed(type);
    const Type& v = value.type;
    const bool scalar = !v.isArray && (v.kind == Type::Kind::Integer || v.kind == Type::Kind::Double || v.kind == Type::Kind::Boolean ||
                                       v.kind == Type::Kind::Color);
    bool converts = false;
    switch (type.kind) {
      case Type::Kind::Integer: converts = scalar; break;
      case Type::Kind::Double:
      case Type::Kind::Boolean: converts = scalar && v.kind != Type::Kind::Color; break;
      case Type::Kind::Color: converts = !v.isArray && (v.kind == Type::Kind::Integer || v.kind == Type::Kind::Color); break;
      case Type::Kind::String: converts = !v.isArray && (v.kind == Type::Kind::String || isMemoryBlock(v)); break;
      case Type::Kind::Object: converts = !v.isArray && v.kind == Type::Kind::Object; break;
      default: converts = refusal(type, value).empty(); break;
    }
    if (!converts) fail(e.args[0]->where, "CType cannot convert " + value.describe() + " to " + withArticle(type.describe()));
    return typed(type);
  }

  // The operator rules of the interpreter, applied to the static types.
  Static binary(const Expr& e) {
    const Static l = expression(*e.left);
    const Static r = expression(*e.right);
    const bool comparison = e.op == Op::Equal || e.op == Op::NotEqual || e.op == Op::Less || e.op == Op::LessEqual ||
                            e.op == Op::Greater || e.op == Op::GreaterEqual;
    const Static boolean = named("Boolean");
    if ((e.op == Op::And || e.op == Op::Or) && l.isValue(Type::Kind::Boolean)) {
      if (r.known() && !r.isValue(Type::Kind::Boolean) && !r.variant())
        fail(e.right->where, std::string(e.op == Op::And ? "And" : "Or") + " expects a Boolean but got " + r.describe());
      return boolean;
    }
    if (e.op == Op::Is) return boolean;
    auto plain = [](const Static& s) { return s.known() && !s.variant() && !s.type.isArray && s.type.kind != Type::Kind::Object; };
    if (!plain(l) || !plain(r)) return comparison ? boolean : Static();
    const bool ln = l.numeric(), rn = r.numeric();
    const bool bothInteger = l.isValue(Type::Kind::Integer) && r.isValue(Type::Kind::Integer);
    auto mismatch = [&]() -> Static {
      fail(e.where, std::string("the operator ") + symbolOf(e.op) + " cannot be used with " + l.describe() + " and " + r.describe());
    };
    switch (e.op) {
      case Op::Add:
        if (l.isValue(Type::Kind::String) && r.isValue(Type::Kind::String)) return named("String");
        [[fallthrough]];
      case Op::Subtract:
      case Op::Multiply:
      case Op::Modulo:
        if (!ln || !rn) return mismatch();
        return named(bothInteger ? "Integer" : "Double");
      case Op::Divide:
      case Op::Power:
        if (!ln || !rn) return mismatch();
        return named("Double");
      case Op::IntegerDivide:
        if (!ln || !rn) return mismatch();
        return named("Integer");
      case Op::Equal:
      case Op::NotEqual:
        if (l.known() && r.known() && l.type.kind == r.type.kind &&
            (l.type.kind == Type::Kind::Boolean || l.type.kind == Type::Kind::Color))
          return boolean;
        [[fallthrough]];
      case Op::Less:
      case Op::LessEqual:
      case Op::Greater:
      case Op::GreaterEqual:
        if ((ln && rn) || (l.isValue(Type::Kind::String) && r.isValue(Type::Kind::String))) return boolean;
        return mismatch();
      case Op::And:
      case Op::Or:
      case Op::Xor:
        if (l.isValue(Type::Kind::Boolean) && r.isValue(Type::Kind::Boolean)) return boolean;
        if (bothInteger) return named("Integer");
        return mismatch();
      default:
        return mismatch();
    }
  }

  host::Runtime& rt_;
  const Program& program_;
  std::vector<std::map<std::string, Static>> scopes_;
  std::set<std::string> constants_;
  std::map<std::string, Static> globalConstants_;
  Static result_;
  std::string method_;
  const ClassDefinition* class_ = nullptr;  // the class whose method is being read
  std::vector<std::string> forLoops_;  // counters of the For loops around the statement
  bool inMethod_ = false;
  StaticTypes types_;
};

}  // namespace

StaticTypes checkProgram(host::Runtime& rt, const Program& program) { return Checker(rt, program).run(); }

const char* variantMemberType(const std::string& name) {
  static const std::map<std::string, const char*> kMembers = {
      {"type", "Integer"},        {"integervalue", "Integer"}, {"int32value", "Int32"},   {"int64value", "Int64"},
      {"doublevalue", "Double"},  {"singlevalue", "Single"},   {"stringvalue", "String"}, {"booleanvalue", "Boolean"},
      {"colorvalue", "Color"},    {"datevalue", "Date"},       {"objectvalue", "Object"}, {"isnull", "Boolean"},
      {"isnumeric", "Boolean"},   {"isarray", "Boolean"},      {"arrayelementtype", "Integer"},
  };
  auto it = kMembers.find(lowered(name));
  return it == kMembers.end() ? "" : it->second;
}

}  // namespace qvrlang
