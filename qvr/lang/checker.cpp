// The checker: walks every statement of the main program and of each Sub and Function
// with the scopes the interpreter will have, so a typo in a branch that a test run never
// takes is still reported before the program starts, at its line and column.
#include "checker.h"

#include "lexer.h"
#include "values.h"

#include <algorithm>
#include <cstdint>
#include <set>
#include <vector>

namespace qvrlang {

namespace {

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
        declare(p.name, p.where, false);
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

  void declare(const std::string& name, Position where, bool constant) {
    const std::string k = lowered(name);
    for (const auto& scope : scopes_)
      if (scope.count(k)) fail(where, "\"" + name + "\" is already declared");
    if (isFunction(name)) fail(where, "\"" + name + "\" is the name of a method");
    scopes_.back().insert(k);
    if (constant) constants_.insert(k);
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
          if (item.size) expression(*item.size);
          if (item.initializer) expression(*item.initializer);
          for (const ExprPtr& a : item.newArgs) expression(*a);
          declare(item.name, item.where, false);
        }
        return;
      case Stmt::Kind::Const:
        type(s.items[0].type);
        expression(*s.items[0].initializer);
        declare(s.items[0].name, s.items[0].where, true);
        return;
      case Stmt::Kind::Assign:
        expression(*s.value);
        if (s.target->kind == Expr::Kind::Name) {
          const std::string& n = s.target->text;
          if (constants_.count(lowered(n)) || (inMethod_ && globalConstants_.count(lowered(n)) && !isLocal(n)))
            fail(s.target->where, "\"" + n + "\" is a constant");
          if (!isVariable(n)) {
            if (isFunction(n)) fail(s.target->where, "\"" + n + "\" is a method; return a result with Return");
            fail(s.target->where, "unknown variable \"" + n + "\"; declare it with Dim or Var");
          }
        } else {
          expression(*s.target);
        }
        return;
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
          expression(*s.conditions[i]);
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
          declare(s.name, s.where, false);
        } else if (!isVariable(s.name)) {
          fail(s.where, "unknown variable \"" + s.name + "\"; write For " + std::string(s.kind == Stmt::Kind::ForEach ? "Each " : "") +
                            s.name + " As Type ...");
        }
        scoped(s.body);
        scopes_.pop_back();
        return;
      case Stmt::Kind::While:
        expression(*s.value);
        scoped(s.body);
        return;
      case Stmt::Kind::Do:
        if (s.preCondition) expression(*s.preCondition);
        scoped(s.body);
        if (s.postCondition) expression(*s.postCondition);
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
    if (isBuiltinFunction(e.text)) return;
    if (isClass(e.text)) {
      if (receiver) return;
      fail(e.where, "\"" + e.text + "\" is a class; make an instance with New " + e.text);
    }
    fail(e.where, "unknown name \"" + e.text + "\"");
  }

  void expression(const Expr& e) {
    switch (e.kind) {
      case Expr::Kind::Name:
        name(e, false);
        return;
      case Expr::Kind::Member:
        if (e.left->kind == Expr::Kind::Name) name(*e.left, true);
        else expression(*e.left);
        return;
      case Expr::Kind::Call:
        if (e.left->kind == Expr::Kind::Name) {
          const std::string& n = e.left->text;
          if (!isVariable(n) && isFunction(n)) arguments(n, e.args.size(), e.where, true);
          if (!isVariable(n) && !isFunction(n) && !isBuiltinFunction(n)) {
            if (isClass(n)) fail(e.left->where, "\"" + n + "\" is a class; make an instance with New " + n + "(...)");
            fail(e.left->where, "unknown method \"" + n + "\"");
          }
        } else {
          expression(*e.left);
        }
        for (const ExprPtr& a : e.args) expression(*a);
        return;
      case Expr::Kind::New:
        classNamed(e.text, e.where);
        for (const ExprPtr& a : e.args) expression(*a);
        return;
      case Expr::Kind::IsA:
        classNamed(e.text, e.where);
        expression(*e.left);
        return;
      case Expr::Kind::ArrayLiteral:
      case Expr::Kind::IfExpression:
        for (const ExprPtr& a : e.args) expression(*a);
        return;
      case Expr::Kind::Unary:
        expression(*e.left);
        return;
      case Expr::Kind::Binary:
        expression(*e.left);
        expression(*e.right);
        return;
      default:
        return;
    }
  }

  host::Runtime& rt_;
  const Program& program_;
  std::vector<std::set<std::string>> scopes_;
  std::set<std::string> constants_, globalConstants_;
  bool inMethod_ = false;
};

}  // namespace

void checkProgram(host::Runtime& rt, const Program& program) { Checker(rt, program).run(); }

}  // namespace qvrlang
