// Overloads of host members chosen as the host's compiler chooses them: by the declared
// types of the arguments, not by what they hold when the call runs. A Nil in a variable
// declared MemoryBlock picks the MemoryBlock overload; a String passed where only a
// MemoryBlock is taken (or the reverse) converts, as the host converts them implicitly.
#include "interpreter.h"

#include "lexer.h"

#include <climits>
#include <set>

namespace qvrlang {

namespace {

bool isMemoryBlockValue(const Value& v) { return v.isObject() && v.v.object.get()->cls->name == "MemoryBlock"; }

// Steps from cls up to base, or -1 when cls is no kind of base.
int distance(const host::ClassInfo* cls, const host::ClassInfo* base) {
  int steps = 0;
  for (const host::ClassInfo* c = cls; c; c = c->superclass, ++steps)
    if (c == base) return steps;
  return -1;
}

constexpr int kNoFit = -1;

// How well an argument fits a parameter of type p: 0 exactly, more for looser fits.
int fitOf(const Type& p, const Value& arg, const Type* declared) {
  const bool objectParameter = p.kind == Type::Kind::Object && !p.isArray;
  if (p.kind == Type::Kind::Variant && !p.isArray) return 20;
  if (arg.isNil() && !arg.isArray()) {
    if (declared && declared->kind == Type::Kind::Object && declared->cls && !declared->isArray) {
      if (!objectParameter) return kNoFit;
      if (!p.cls) return 10;
      const int d = distance(declared->cls, p.cls);
      return d < 0 ? kNoFit : d;
    }
    return objectParameter || p.isArray || p.kind == Type::Kind::Ptr ? 1 : kNoFit;
  }
  if (arg.isString() && objectParameter && p.cls && p.cls->name == "MemoryBlock") return 5;
  if (isMemoryBlockValue(arg) && p.kind == Type::Kind::String && !p.isArray) return 5;
  if (!fits(p, arg)) return kNoFit;
  if (objectParameter && arg.isObject()) return p.cls ? distance(arg.v.object.get()->cls, p.cls) : 10;
  return arg.isString() && p.kind == Type::Kind::String ? 0 : 1;
}

}  // namespace

std::string Interpreter::chooseHostOverload(host::ClassInfo* cls, const std::string& name, bool shared, std::vector<Value>& args,
                                            const std::vector<ExprPtr>* argExprs, Position where) {
  std::vector<const Type*> declared(args.size(), nullptr);
  bool needed = false;
  for (size_t i = 0; i < args.size(); ++i) {
    if (argExprs && i < argExprs->size()) declared[i] = staticType(*(*argExprs)[i]);
    if (args[i].isNil() && declared[i] && declared[i]->kind == Type::Kind::Object && declared[i]->cls) needed = true;
    if (args[i].isString() || isMemoryBlockValue(args[i])) needed = true;
  }
  if (!needed) return std::string();
  const host::MethodInfo* best = nullptr;
  std::vector<Type> bestTypes;
  int bestScore = INT_MAX;
  bool tie = false;
  std::set<std::string> seen;
  for (host::ClassInfo* c = cls; c; c = c->superclass)
    for (const host::MethodInfo& m : shared ? c->sharedMethods : c->methods) {
      if (!sameName(m.declaration.name, name) || (!m.function && !m.native)) continue;
      const auto& parameters = m.declaration.parameters;
      if (!parameters.empty() && parameters.back().assigns) continue;
      if (!seen.insert(lowered(m.declarationText)).second || args.size() > parameters.size()) continue;
      std::vector<Type> types;
      int score = 0;
      for (size_t i = 0; i < parameters.size() && score >= 0; ++i) {
        if (i >= args.size()) {
          if (!parameters[i].defaultValue) score = kNoFit;
          continue;
        }
        try {
          types.push_back(resolveType(rt_, parameters[i].type, parameters[i].isArray, where));
        } catch (const ProgramError&) {
          return std::string();  // a parameter type the language does not know: the host decides
        }
        const int fit = fitOf(types.back(), args[i], declared[i]);
        score = fit < 0 ? kNoFit : score + fit;
      }
      if (score < 0) continue;
      if (score < bestScore) {
        best = &m;
        bestTypes = std::move(types);
        bestScore = score;
        tie = false;
      } else if (score == bestScore) {
        tie = true;
      }
    }
  if (!best || tie) return std::string();
  for (size_t i = 0; i < args.size(); ++i)
    if ((args[i].isString() && bestTypes[i].kind == Type::Kind::Object) || (isMemoryBlockValue(args[i]) && bestTypes[i].kind == Type::Kind::String))
      args[i] = convertTo(rt_, bestTypes[i], args[i], where, "argument " + std::to_string(i + 1) + " of " + name);
  return best->declarationText;
}

}  // namespace qvrlang
