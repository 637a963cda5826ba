// Classes a program defines: their definition in the host, the storage of their
// instances' property values, and the rewriting of member names inside their methods.
#include "classes.h"

#include "lexer.h"

#include <cstring>
#include <functional>
#include <map>
#include <set>
#include <stdexcept>

namespace qvrlang {

namespace {

using PropertyValues = std::vector<Value>;

// Where an object keeps the pointer to its property values for the class cls.
unsigned char* slotOf(host::ObjectHeader* object, const host::ClassInfo* cls) {
  return reinterpret_cast<unsigned char*>(object) + cls->dataOffset;
}

// Each instance gets its property values, at their types' defaults, before any
// constructor runs; they go (and release what they hold) with the instance.
void giveInstancesProperties(host::ClassInfo* cls, std::vector<Type> types) {
  cls->nativeConstructor = [cls, types](host::Runtime& runtime, host::ObjectHeader* object) {
    auto* values = new PropertyValues();
    for (const Type& t : types) values->push_back(defaultValue(runtime, t));
    std::memcpy(slotOf(object, cls), &values, sizeof values);
  };
  cls->nativeDestructor = [cls](host::Runtime&, host::ObjectHeader* object) {
    PropertyValues* values = nullptr;
    std::memcpy(&values, slotOf(object, cls), sizeof values);
    std::memset(slotOf(object, cls), 0, sizeof values);
    delete values;
  };
}

// The names a method's body declares for itself (parameters, Dim, Const, loop
// counters, Catch variables): these hide the class's members of the same name.
void collectLocals(const Block& block, std::set<std::string>& out) {
  for (const StmtPtr& s : block) {
    for (const DimItem& item : s->items)
      if (s->kind == Stmt::Kind::Dim || s->kind == Stmt::Kind::Const) out.insert(lowered(item.name));
    if ((s->kind == Stmt::Kind::For || s->kind == Stmt::Kind::ForEach) && !s->type.empty()) out.insert(lowered(s->name));
    for (const Block& b : s->blocks) collectLocals(b, out);
    collectLocals(s->elseBlock, out);
    collectLocals(s->body, out);
    for (const CaseBlock& c : s->cases) collectLocals(c.body, out);
    for (const CatchBlock& c : s->catches) {
      if (!c.variable.empty()) out.insert(lowered(c.variable));
      collectLocals(c.body, out);
    }
    collectLocals(s->finallyBlock, out);
  }
}

// Rewrites the names of one method that mean the class's members.
class MemberNames {
 public:
  MemberNames(const ClassDefinition& cls, const Function& method) : cls_(cls), method_(method) {
    for (const Parameter& p : method.parameters) locals_.insert(lowered(p.name));
    collectLocals(method.body, locals_);
  }

  void rewrite(Function& method) {
    for (Parameter& p : method.parameters)
      if (p.defaultValue) expression(p.defaultValue);
    block(method.body);
  }

  void rewrite(DimItem& item) {
    expression(item.size);
    expression(item.initializer);
    for (ExprPtr& a : item.newArgs) expression(a);
  }

 private:
  // What a bare name becomes: "Self" or a class's name to put before it, or "" to leave it.
  std::string qualifier(const std::string& name) const {
    const std::string k = lowered(name);
    if (k == "self" || k == "me" || k == "super" || locals_.count(k)) return "";
    ClassMember m = findMember(&cls_, name);
    switch (m.kind) {
      case ClassMember::Kind::Constant: return m.owner->name;
      case ClassMember::Kind::Method: {
        std::vector<const Function*> methods = methodsOf(&cls_, name);
        if (methods.front()->isShared) return methods.front()->owner->name;
        return method_.isShared ? "" : "Self";
      }
      case ClassMember::Kind::Property: return method_.isShared ? "" : "Self";
      case ClassMember::Kind::None: break;
    }
    // Members of a class of the host that the program's class descends from.
    const ClassDefinition* root = &cls_;
    while (root->superclass) root = root->superclass;
    for (host::ClassInfo* c = root->info ? root->info->superclass : nullptr; c; c = c->superclass) {
      for (const host::ConstantInfo& constant : c->constants)
        if (lowered(constant.name) == k) return c->name;
      if (method_.isShared) continue;
      for (const host::PropertyInfo& p : c->properties)
        if (lowered(p.name) == k) return "Self";
      for (const host::MethodInfo& m2 : c->methods)
        if (lowered(m2.declaration.name) == k && k != "constructor") return "Self";
    }
    return "";
  }

  void expression(ExprPtr& e) {
    if (!e) return;
    if (e->kind == Expr::Kind::Name) {
      const std::string q = qualifier(e->text);
      if (!q.empty()) {
        auto receiver = std::make_unique<Expr>(Expr::Kind::Name, e->where);
        receiver->text = q;
        e->kind = Expr::Kind::Member;
        e->left = std::move(receiver);
        ++e->height;
      }
      return;
    }
    expression(e->left);
    if (e->kind != Expr::Kind::Member) expression(e->right);
    for (ExprPtr& a : e->args) expression(a);
  }

  void block(Block& statements) {
    for (StmtPtr& s : statements) statement(*s);
  }

  void statement(Stmt& s) {
    for (DimItem& item : s.items) rewrite(item);
    expression(s.target);
    expression(s.value);
    expression(s.step);
    expression(s.preCondition);
    expression(s.postCondition);
    for (ExprPtr& c : s.conditions) expression(c);
    for (Block& b : s.blocks) block(b);
    block(s.elseBlock);
    block(s.body);
    for (CaseBlock& c : s.cases) {
      for (CaseClause& clause : c.clauses) {
        expression(clause.first);
        expression(clause.last);
      }
      block(c.body);
    }
    for (CatchBlock& c : s.catches) block(c.body);
    block(s.finallyBlock);
  }

  const ClassDefinition& cls_;
  const Function& method_;
  std::set<std::string> locals_;
};

}  // namespace

ClassMember findMember(const ClassDefinition* from, const std::string& name) {
  const std::string k = lowered(name);
  for (const ClassDefinition* c = from; c; c = c->superclass) {
    for (size_t i = 0; i < c->properties.size(); ++i)
      if (lowered(c->properties[i].name) == k) return {ClassMember::Kind::Property, c, i};
    if (c->methods.count(k)) return {ClassMember::Kind::Method, c, 0};
    for (size_t i = 0; i < c->constants.size(); ++i)
      if (lowered(c->constants[i]->items[0].name) == k) return {ClassMember::Kind::Constant, c, i};
  }
  return {};
}

std::vector<const Function*> methodsOf(const ClassDefinition* from, const std::string& name) {
  std::vector<const Function*> out;
  const std::string k = lowered(name);
  for (const ClassDefinition* c = from; c; c = c->superclass) {
    auto range = c->methods.equal_range(k);
    for (auto it = range.first; it != range.second; ++it) out.push_back(it->second.get());
  }
  return out;
}

const ClassDefinition* programClassOf(const Program& program, const host::ClassInfo* cls) {
  for (; cls; cls = cls->superclass)
    if (cls->definedByProgram)
      for (const auto& c : program.classes)
        if (c->info == cls) return c.get();
  return nullptr;
}

std::vector<Value>* propertiesOf(const Value& object, const ClassDefinition& def) {
  PropertyValues* values = nullptr;
  if (object.isObject() && object.v.object.get()->cls->isA(def.info))
    std::memcpy(&values, slotOf(object.v.object.get(), def.info), sizeof values);
  return values;
}

void defineClasses(host::Runtime& rt, Program& program) {
  std::map<std::string, ClassDefinition*> byName;
  for (auto& c : program.classes)
    if (!byName.emplace(lowered(c->name), c.get()).second) fail(c->where, "Class " + c->name + " is defined twice");

  // Superclasses first, whatever order the program writes them in.
  std::set<const ClassDefinition*> defining;
  std::function<void(ClassDefinition*)> define = [&](ClassDefinition* c) {
    if (c->info) return;
    if (!defining.insert(c).second) fail(c->where, "Class " + c->name + " inherits from itself");
    std::string superName;
    if (!c->superName.empty()) {
      auto it = byName.find(lowered(c->superName));
      if (it != byName.end()) {
        define(it->second);
        c->superclass = it->second;
        superName = it->second->name;
      } else {
        host::ClassInfo* s = rt.findClass(c->superName);
        if (!s || s->name.back() == ')') fail(c->where, "unknown superclass \"" + c->superName + "\"");
        superName = s->name;
      }
    }
    try {
      c->info = rt.defineClass(c->name, superName, sizeof(PropertyValues*));
    } catch (const std::invalid_argument& e) {
      fail(c->where, std::string(e.what()) + "; give the program's class another name");
    }
  };
  for (auto& c : program.classes) define(c.get());

  for (auto& c : program.classes) {
    std::set<std::string> names;
    std::vector<Type> types;
    for (const DimItem& item : c->properties) {
      if (!names.insert(lowered(item.name)).second) fail(item.where, "\"" + item.name + "\" is already a member of " + c->name);
      types.push_back(resolveType(rt, item.type));
    }
    for (const auto& constant : c->constants)
      if (!names.insert(lowered(constant->items[0].name)).second)
        fail(constant->where, "\"" + constant->items[0].name + "\" is already a member of " + c->name);
    for (const auto& [k, f] : c->methods)
      if (names.count(k)) fail(f->where, "\"" + f->name + "\" is already a property or constant of " + c->name);
    giveInstancesProperties(c->info, std::move(types));
  }
  for (auto& c : program.classes) {
    for (auto& [k, f] : c->methods) MemberNames(*c, *f).rewrite(*f);
    // Initial values are read before the instance exists: they may name the class's
    // constants and Shared methods, as a Shared method does.
    Function initialValues;
    initialValues.isShared = true;
    MemberNames names(*c, initialValues);
    for (DimItem& item : c->properties) names.rewrite(item);
  }
}

}  // namespace qvrlang
