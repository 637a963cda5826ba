// The checker: walks every statement of the main program and of each Sub and Function
// with the scopes the interpreter will have, so a typo in a branch that a test run never
// takes is still reported before the program starts, at its line and column.
#include "checker.h"

#include "lexer.h"
#include "values.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <set>
#include <vector>

namespace qvrlang {

namespace {

// What the checker knows of an expression's type: a value type for certain, or nothing.
enum class Known { Unknown, Integer, Double, String, Boolean, Color };

const char* nameOf(Known k) {
  switch (k) {
    case Known::Integer: return "Integer";
    case Known::Double: return "Double";
    case Known::String: return "String";
    case Known::Boolean: return "Boolean";
    case Known::Color: return "Color";
    default: return "a value";
  }
}

Known knownOf(const Type& t) {
  if (t.isArray) return Known::Unknown;
  switch (t.kind) {
    case Type::Kind::Integer: return Known::Integer;
    case Type::Kind::Double: return Known::Double;
    case Type::Kind::String: return Known::String;
    case Type::Kind::Boolean: return Known::Boolean;
    case Type::Kind::Color: return Known::Color;
    default: return Known::Unknown;
  }
}

bool numeric(Known k) { return k == Known::Integer || k == Known::Double; }

// Results of the built-ins whose type never varies.
Known builtinResult(const std::string& name) {
  static const std::map<std::string, Known> kResults = {
      {"str", Known::String},      {"cstr", Known::String},     {"format", Known::String},  {"left", Known::String},
      {"right", Known::String},    {"mid", Known::String},      {"trim", Known::String},    {"ltrim", Known::String},
      {"rtrim", Known::String},    {"uppercase", Known::String}, {"lowercase", Known::String}, {"titlecase", Known::String},
      {"chr", Known::String},      {"hex", Known::String},      {"oct", Known::String},     {"bin", Known::String},
      {"replace", Known::String},  {"replaceall", Known::String}, {"nthfield", Known::String}, {"join", Known::String},
      {"len", Known::Integer},     {"lenb", Known::Integer},    {"instr", Known::Integer},  {"asc", Known::Integer},
      {"countfields", Known::Integer}, {"strcomp", Known::Integer}, {"ubound", Known::Integer},
      {"val", Known::Double},      {"cdbl", Known::Double},     {"sqrt", Known::Double},    {"round", Known::Double},
      {"floor", Known::Double},    {"ceil", Known::Double},     {"ceiling", Known::Double}, {"pow", Known::Double},
      {"isnumeric", Known::Boolean}, {"rgb", Known::Color},
  };
  auto it = kResults.find(lowered(name));
  return it == kResults.end() ? Known::Unknown : it->second;
}

class Checker {
 public:
  Checker(host::Runtime& rt, const Program& program) : rt_(rt), program_(program) {}

  void run() {
    // Constants of the main program are visible in every method.
    for (const StmtPtr& s : program_.main)
      if (s->kind == Stmt::Kind::Const) globalConstants_.insert(lowered(s->items[0].name));
    scopes_.assign(1, {});
    block(program_.main, false);
    for (const auto& [name, f] : program_.functions) {
      scopes_.assign(1, {});
      constants_.clear();
      for (const Parameter& p : f->parameters) {
        type(p.type);
        if (p.defaultValue) expression(*p.defaultValue);
        declare(p.name, p.where, false, knownOf(resolveType(rt_, p.type)));
      }
      if (f->isFunction) type(f->returnType);
      block(f->body, true);
    }
  }

 private:
  void type(const TypeName& t) {
    if (!t.empty()) resolveType(rt_, t);
  }

  void classNamed(const std::string& name, Position where) {
    host::ClassInfo* cls = rt_.findClass(name);
    if (!cls || cls->name.back() == ')') fail(where, "unknown class \"" + name + "\"");
  }

  bool isVariable(const std::string& name) const {
    const std::string k = lowered(name);
    for (const auto& scope : scopes_)
      if (scope.count(k)) return true;
    return inMethod_ && globalConstants_.count(k);
  }

  bool isFunction(const std::string& name) const { return program_.functions.count(lowered(name)) != 0; }

  bool isClass(const std::string& name) const {
    host::ClassInfo* cls = rt_.findClass(name);
    return cls && cls->name.back() != ')';
  }

  void declare(const std::string& name, Position where, bool constant, Known type = Known::Unknown) {
    const std::string k = lowered(name);
    for (const auto& scope : scopes_)
      if (scope.count(k)) fail(where, "\"" + name + "\" is already declared");
    if (isFunction(name)) fail(where, "\"" + name + "\" is the name of a method");
    scopes_.back()[k] = type;
    if (constant) constants_.insert(k);
  }

  Known variableType(const std::string& name) const {
    const std::string k = lowered(name);
    for (auto scope = scopes_.rbegin(); scope != scopes_.rend(); ++scope) {
      auto it = scope->find(k);
      if (it != scope->end()) return it->second;
    }
    return Known::Unknown;
  }

  // A value of a known type stored where a declared type is wanted: the same refusals
  // the interpreter makes, found before the program runs.
  void stores(const Type& declared, Known value, Position where, const std::string& what) {
    if (value == Known::Unknown || declared.kind == Type::Kind::Variant) return;
    bool fits = false;
    if (!declared.isArray) {
      switch (declared.kind) {
        case Type::Kind::Integer:
        case Type::Kind::Double: fits = numeric(value); break;
        case Type::Kind::String: fits = value == Known::String; break;
        case Type::Kind::Boolean: fits = value == Known::Boolean; break;
        case Type::Kind::Color: fits = value == Known::Color; break;
        case Type::Kind::Ptr: fits = false; break;
        default: fits = false; break;
      }
    }
    if (!fits) fail(where, what + " expects " + declared.describe() + " but got a " + nameOf(value));
  }

  void condition(const Expr& e, const char* what) {
    Known k = expression(e);
    if (k != Known::Unknown && k != Known::Boolean) fail(e.where, std::string(what) + " expects a Boolean but got " + nameOf(k));
  }

  // The result of a call of the program's own method: its declared result when there is
  // only one definition.
  Known functionResult(const std::string& method) {
    auto range = program_.functions.equal_range(lowered(method));
    if (std::distance(range.first, range.second) != 1 || !range.first->second->isFunction) return Known::Unknown;
    return knownOf(resolveType(rt_, range.first->second->returnType));
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
          type(item.type);
          Type declared = resolveType(rt_, item.type);
          if (item.size) expression(*item.size);
          if (item.initializer)
            stores(declared, expression(*item.initializer), item.initializer->where, "\"" + item.name + "\"");
          for (const ExprPtr& a : item.newArgs) expression(*a);
          declare(item.name, item.where, false, knownOf(declared));
        }
        return;
      case Stmt::Kind::Const:
        {
          type(s.items[0].type);
          Known value = expression(*s.items[0].initializer);
          if (!s.items[0].type.empty()) {
            Type declared = resolveType(rt_, s.items[0].type);
            stores(declared, value, s.items[0].initializer->where, "\"" + s.items[0].name + "\"");
            value = knownOf(declared);
          }
          declare(s.items[0].name, s.items[0].where, true, value);
        }
        return;
      case Stmt::Kind::Assign: {
        Known value = expression(*s.value);
        if (s.target->kind == Expr::Kind::Name) {
          const std::string& n = s.target->text;
          if (constants_.count(lowered(n)) || (inMethod_ && globalConstants_.count(lowered(n)) && !isLocal(n)))
            fail(s.target->where, "\"" + n + "\" is a constant");
          if (!isVariable(n)) {
            if (isFunction(n)) fail(s.target->where, "\"" + n + "\" is a method; return a result with Return");
            fail(s.target->where, "unknown variable \"" + n + "\"; declare it with Dim or Var");
          }
          Known target = variableType(n);
          if (!s.compound && target != Known::Unknown) {
            Type declared;
            declared.kind = target == Known::Integer ? Type::Kind::Integer
                            : target == Known::Double ? Type::Kind::Double
                            : target == Known::String ? Type::Kind::String
                            : target == Known::Boolean ? Type::Kind::Boolean
                                                       : Type::Kind::Color;
            declared.name = nameOf(target);
            stores(declared, value, s.value->where, "\"" + n + "\"");
          }
        } else {
          expression(*s.target);
        }
        return;
      }
      case Stmt::Kind::Call: {
        // The head of a call statement may be a Sub; anywhere else a value is wanted.
        const Expr& e = *s.value;
        if (e.kind == Expr::Kind::Name && isFunction(e.text) && !isVariable(e.text)) {
          arguments(e.text, 0, e.where, false);
        } else if (e.kind == Expr::Kind::Call && e.left->kind == Expr::Kind::Name && isFunction(e.left->text) &&
                   !isVariable(e.left->text)) {
          arguments(e.left->text, e.args.size(), e.where, false);
          for (const ExprPtr& a : e.args) expression(*a);
        } else {
          expression(e);
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
      case Stmt::Kind::ForEach:
        expression(*s.value);
        if (s.target) expression(*s.target);
        if (s.step) expression(*s.step);
        scopes_.emplace_back();
        if (!s.type.empty()) {
          type(s.type);
          declare(s.name, s.where, false, knownOf(resolveType(rt_, s.type)));
        } else if (!isVariable(s.name)) {
          fail(s.where, "unknown variable \"" + s.name + "\"; write For " + std::string(s.kind == Stmt::Kind::ForEach ? "Each " : "") +
                            s.name + " As Type ...");
        }
        scoped(s.body);
        scopes_.pop_back();
        return;
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
            expression(*clause.first);
            if (clause.last) expression(*clause.last);
          }
          scoped(c.body);
        }
        return;
      case Stmt::Kind::Try:
        scoped(s.body);
        for (const CatchBlock& c : s.catches) {
          if (!c.className.empty()) classNamed(c.className, c.where);
          scopes_.emplace_back();
          if (!c.variable.empty()) declare(c.variable, c.where, false);
          scoped(c.body);
          scopes_.pop_back();
        }
        if (s.hasFinally) scoped(s.finallyBlock);
        return;
      case Stmt::Kind::Raise:
      case Stmt::Kind::Return:
        if (s.value) expression(*s.value);
        return;
      case Stmt::Kind::Redim:
        expression(*s.target);
        expression(*s.value);
        return;
      case Stmt::Kind::Exit:
      case Stmt::Kind::Continue:
        return;
    }
  }

  bool isLocal(const std::string& name) const {
    const std::string k = lowered(name);
    for (const auto& scope : scopes_)
      if (scope.count(k)) return true;
    return false;
  }

  // A call of the program's own method with count arguments: some definition must take
  // that many, and where a value is wanted it must be a Function.
  void arguments(const std::string& method, size_t count, Position where, bool wantValue) {
    auto range = program_.functions.equal_range(lowered(method));
    bool anyCount = false, anyFunction = false;
    size_t most = 0, fewest = SIZE_MAX;
    for (auto it = range.first; it != range.second; ++it) {
      const Function& f = *it->second;
      size_t required = 0;
      for (const Parameter& p : f.parameters)
        if (!p.defaultValue && !p.optional) ++required;
      most = std::max(most, f.parameters.size());
      fewest = std::min(fewest, required);
      if (count >= required && count <= f.parameters.size()) {
        anyCount = true;
        if (f.isFunction) anyFunction = true;
      }
    }
    if (!anyCount) {
      if (count > most)
        fail(where, method + " takes at most " + std::to_string(most) + " argument(s) but was given " + std::to_string(count));
      fail(where, method + " needs at least " + std::to_string(fewest) + " argument(s) but was given " + std::to_string(count));
    }
    if (wantValue && !anyFunction) fail(where, method + " is a Sub and has no value");
  }

  // A name: a variable, a method, a built-in function; a class only before a ".".
  void name(const Expr& e, bool receiver) {
    if (isVariable(e.text)) return;
    if (isFunction(e.text)) {
      arguments(e.text, 0, e.where, true);
      return;
    }
    if (isBuiltinFunction(e.text) || rt_.hasGlobal(e.text)) return;
    if (isClass(e.text)) {
      if (receiver) return;
      fail(e.where, "\"" + e.text + "\" is a class; make an instance with New " + e.text);
    }
    fail(e.where, "unknown name \"" + e.text + "\"");
  }

  Known expression(const Expr& e) {
    switch (e.kind) {
      case Expr::Kind::Integer: return Known::Integer;
      case Expr::Kind::Double: return Known::Double;
      case Expr::Kind::String: return Known::String;
      case Expr::Kind::Color: return Known::Color;
      case Expr::Kind::Boolean: return Known::Boolean;
      case Expr::Kind::Name:
        name(e, false);
        if (isVariable(e.text)) return variableType(e.text);
        if (isFunction(e.text)) return functionResult(e.text);
        return Known::Unknown;
      case Expr::Kind::Member:
        if (e.left->kind == Expr::Kind::Name) name(*e.left, true);
        else expression(*e.left);
        return Known::Unknown;
      case Expr::Kind::Call: {
        Known result = Known::Unknown;
        if (e.left->kind == Expr::Kind::Name) {
          const std::string& n = e.left->text;
          if (!isVariable(n) && isFunction(n)) {
            arguments(n, e.args.size(), e.where, true);
            result = functionResult(n);
          }
          if (!isVariable(n) && !isFunction(n)) {
            if (!isBuiltinFunction(n) && !rt_.hasGlobal(n)) {
              if (isClass(n)) fail(e.left->where, "\"" + n + "\" is a class; make an instance with New " + n + "(...)");
              fail(e.left->where, "unknown method \"" + n + "\"");
            }
            result = builtinResult(n);
          }
        } else {
          expression(*e.left);
        }
        for (const ExprPtr& a : e.args) expression(*a);
        return result;
      }
      case Expr::Kind::New:
        classNamed(e.text, e.where);
        for (const ExprPtr& a : e.args) expression(*a);
        return Known::Unknown;
      case Expr::Kind::IsA:
        classNamed(e.text, e.where);
        expression(*e.left);
        return Known::Boolean;
      case Expr::Kind::ArrayLiteral:
      case Expr::Kind::IfExpression:
        for (const ExprPtr& a : e.args) expression(*a);
        return Known::Unknown;
      case Expr::Kind::Unary: {
        Known k = expression(*e.left);
        if (k == Known::Unknown) return k;
        if (e.op == Op::Negate) {
          if (!numeric(k)) fail(e.where, std::string("cannot negate a ") + nameOf(k));
          return k;
        }
        if (k != Known::Boolean && k != Known::Integer)
          fail(e.where, std::string("Not expects a Boolean or an Integer but got ") + nameOf(k));
        return k;
      }
      case Expr::Kind::Binary:
        return binary(e);
      default:
        return Known::Unknown;
    }
  }

  // The operator rules of the interpreter, applied to types known before running.
  Known binary(const Expr& e) {
    const Known l = expression(*e.left);
    const Known r = expression(*e.right);
    const bool comparison = e.op == Op::Equal || e.op == Op::NotEqual || e.op == Op::Less || e.op == Op::LessEqual ||
                            e.op == Op::Greater || e.op == Op::GreaterEqual;
    if ((e.op == Op::And || e.op == Op::Or) && l == Known::Boolean) {
      if (r != Known::Unknown && r != Known::Boolean)
        fail(e.right->where, std::string(e.op == Op::And ? "And" : "Or") + " expects a Boolean but got " + nameOf(r));
      return Known::Boolean;
    }
    if (l == Known::Unknown || r == Known::Unknown) return comparison || e.op == Op::Is ? Known::Boolean : Known::Unknown;
    auto mismatch = [&]() -> Known {
      fail(e.where, std::string("the operator ") + symbolOf(e.op) + " cannot be used with " + nameOf(l) + " and " + nameOf(r));
    };
    switch (e.op) {
      case Op::Add:
        if (l == Known::String && r == Known::String) return Known::String;
        [[fallthrough]];
      case Op::Subtract:
      case Op::Multiply:
        if (!numeric(l) || !numeric(r)) return mismatch();
        return l == Known::Integer && r == Known::Integer ? Known::Integer : Known::Double;
      case Op::Divide:
      case Op::Power:
        if (!numeric(l) || !numeric(r)) return mismatch();
        return Known::Double;
      case Op::IntegerDivide:
        if (!numeric(l) || !numeric(r)) return mismatch();
        return Known::Integer;
      case Op::Modulo:
        if (!numeric(l) || !numeric(r)) return mismatch();
        return l == Known::Integer && r == Known::Integer ? Known::Integer : Known::Double;
      case Op::Equal:
      case Op::NotEqual:
        if (l == r && (l == Known::Boolean || l == Known::Color)) return Known::Boolean;
        [[fallthrough]];
      case Op::Less:
      case Op::LessEqual:
      case Op::Greater:
      case Op::GreaterEqual:
        if ((numeric(l) && numeric(r)) || (l == Known::String && r == Known::String)) return Known::Boolean;
        return mismatch();
      case Op::And:
      case Op::Or:
      case Op::Xor:
        if (l == Known::Boolean && r == Known::Boolean) return Known::Boolean;
        if (l == Known::Integer && r == Known::Integer) return Known::Integer;
        return mismatch();
      case Op::Is:
      default:
        return mismatch();
    }
  }

  host::Runtime& rt_;
  const Program& program_;
  std::vector<std::map<std::string, Known>> scopes_;
  std::set<std::string> constants_, globalConstants_;
  bool inMethod_ = false;
};

}  // namespace

void checkProgram(host::Runtime& rt, const Program& program) { Checker(rt, program).run(); }

}  // namespace qvrlang
