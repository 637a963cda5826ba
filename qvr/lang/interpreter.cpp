// The interpreter's statements and expressions: declarations, assignment, the control
// structures, exceptions with Try/Catch/Finally, and calls of the program's own Subs and
// Functions (overloads, ByRef and optional parameters, recursion with a depth limit).
#include "interpreter.h"

#include "classes.h"

#include "lexer.h"
#include "text.h"

#include <sys/resource.h>

namespace qvrlang {

namespace {

constexpr int kMaxDepth = 100000;  // nested calls before a StackOverflowException

// Stack the interpreter may use for nested calls: half the process's stack limit
// (8 MiB when it has none), so deep recursion is a StackOverflowException, not a crash.
size_t stackBudget() {
  struct rlimit limit {};
  size_t bytes = 8u << 20;
  if (getrlimit(RLIMIT_STACK, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY) bytes = static_cast<size_t>(limit.rlim_cur);
  return bytes / 2;
}

std::string key(const std::string& name) { return lowered(name); }

}  // namespace

Interpreter::Interpreter(host::Runtime& rt, const Program& program, std::ostream& out, std::ostream& err, StaticTypes types)
    : rt_(rt), program_(program), out_(out), err_(err), types_(std::move(types)) {}

const Type* Interpreter::staticType(const Expr& e) const {
  auto it = types_.find(&e);
  return it == types_.end() ? nullptr : &it->second;
}

Interpreter::~Interpreter() {
  for (const ClassDefinition* c : threadClasses_) c->info->eventHandlers.erase("run");
}

Interpreter::Strand*& Interpreter::currentStrand() {
  static thread_local Strand* strand = nullptr;
  return strand;
}

void Interpreter::run() {
  // The program's Thread classes run their Run on threads of their own; the program ends
  // when the last of them has.
  host::ClassInfo* threadClass = rt_.findClass("Thread");
  for (const auto& c : program_.classes)
    if (threadClass && c->info->isA(threadClass) && !methodsOf(c.get(), "Run").empty()) {
      const ClassDefinition* definition = c.get();
      c->info->eventHandlers["run"] = [this, definition](host::Runtime&, const host::Value& self, std::vector<host::Value>&) {
        runThread(*definition, Value(self));
        return host::Value::nil();
      };
      threadClasses_.push_back(definition);
    }
  {
    // However the main program ends, its threads run to their end first.
    struct Finish {
      Interpreter* self;
      Strand* previous;
      ~Finish() {
        self->rt_.runThreadsUntil([this] { return self->rt_.runningThreads() == 0; });
        currentStrand() = previous;
      }
    } finish{this, currentStrand()};
    currentStrand() = &main_;
    strand().stackBase = reinterpret_cast<uintptr_t>(__builtin_frame_address(0));
    strand().stackBudget = stackBudget();
    frames().clear();
    frames().emplace_back();
    frames().back().scopes.emplace_back();
    Flow flow = execute(program_.main);
    (void)flow;  // Return or Exit at the top level ends the program
  }
  if (threadFailed_) throw Quit{1};
}

// The Run of a program's Thread, on that thread: its own frames, and what goes wrong
// reported on the error output as the main program's failures are.
void Interpreter::runThread(const ClassDefinition& cls, const Value& self) {
  Strand strand;
  Strand* previous = currentStrand();
  currentStrand() = &strand;
  strand.stackBase = reinterpret_cast<uintptr_t>(__builtin_frame_address(0));
  strand.stackBudget = stackBudget();
  strand.frames.emplace_back();
  strand.frames.back().scopes.emplace_back();
  try {
    invoke(methodsOf(&cls, "Run"), cls.name + ".Run", {}, nullptr, cls.where, false, &self);
  } catch (const Raised& raised) {
    threadFailed_ = true;
    err() << program_.file << ":" << raised.where.line << ": " << uncaught(rt_, raised) << " in a " << cls.name << " thread\n";
  } catch (const ProgramError& e) {
    threadFailed_ = true;
    err() << e.describe(program_.file) << '\n';
  } catch (const Quit&) {
  } catch (const std::exception& e) {
    threadFailed_ = true;
    err() << program_.file << ": a " << cls.name << " thread failed: " << e.what() << '\n';
  }
  currentStrand() = previous;
}

std::string Interpreter::text(const Value& value) { return textOf(rt_, value); }

void Interpreter::raise(const std::string& className, const std::string& message, Position where) {
  raiseException(rt_, className, message, where);
}

// ---- names

VariablePtr Interpreter::findVariable(const std::string& name) const {
  const Frame& frame = frames().back();
  for (auto scope = frame.scopes.rbegin(); scope != frame.scopes.rend(); ++scope) {
    auto it = scope->find(name);
    if (it != scope->end()) return it->second;
  }
  auto it = globalConstants_.find(name);
  return it == globalConstants_.end() ? nullptr : it->second;
}

void Interpreter::declare(const std::string& name, VariablePtr variable, Position where) {
  const std::string k = key(name);
  Frame& frame = frames().back();
  for (auto& scope : frame.scopes)
    if (scope.count(k)) fail(where, "\"" + name + "\" is already declared");
  if (findFunction(name)) fail(where, "\"" + name + "\" is the name of a method");
  frame.scopes.back()[k] = std::move(variable);
}

const Function* Interpreter::findFunction(const std::string& name) const {
  auto it = program_.functions.find(key(name));
  return it == program_.functions.end() ? nullptr : it->second.get();
}

bool Interpreter::isSuper(const Expr& e) const { return e.kind == Expr::Kind::Name && sameName(e.text, "super") && !findVariable(e.text); }

bool Interpreter::isClassName(const Expr& e) const {
  if (e.kind != Expr::Kind::Name) return false;
  if (findVariable(e.text) || findFunction(e.text)) return false;
  host::ClassInfo* cls = rt_.findClass(e.text);
  return cls && cls->name.back() != ')';
}

void Interpreter::checkUpperBound(int64_t upper, Position where) {
  constexpr int64_t kMaxElements = int64_t(1) << 24;
  if (upper < -1) raise("OutOfBoundsException", "an array cannot have the upper bound " + std::to_string(upper), where);
  if (upper >= kMaxElements)
    raise("OutOfMemoryException", "an array of " + std::to_string(upper + 1) + " elements is too large; use a MemoryBlock", where);
}

void Interpreter::checkStringSize(size_t bytes, Position where) {
  // The host's strings live in a 32-bit process, which could not join strings of hundreds of
  // megabytes; refusing them here keeps a runaway loop from exhausting this machine.
  constexpr size_t kMaxBytes = size_t(1) << 28;
  if (bytes > kMaxBytes) raise("OutOfMemoryException", "a String of " + std::to_string(bytes) + " bytes is too large", where);
}

// ---- statements

Flow Interpreter::execute(const Block& block) {
  for (const StmtPtr& s : block) {
    Flow flow = statement(*s);
    if (flow != Flow::Normal) return flow;
  }
  return Flow::Normal;
}

Flow Interpreter::executeInScope(const Block& block) {
  BlockScope scope(*this);
  return execute(block);
}

Flow Interpreter::statement(const Stmt& s) {
  switch (s.kind) {
    case Stmt::Kind::Dim: return dim(s);
    case Stmt::Kind::Const: return constant(s);
    case Stmt::Kind::Assign: return assignment(s);
    case Stmt::Kind::Call: {
      const Expr& e = *s.value;
      if (e.kind == Expr::Kind::Name && findFunction(e.text) && !findVariable(e.text)) {
        callFunction(e.text, {}, e.where, false);
      } else if (e.kind == Expr::Kind::Call && e.left->kind == Expr::Kind::Name && findFunction(e.left->text) &&
                 !findVariable(e.left->text)) {
        callFunction(e.left->text, e.args, e.where, false);
      } else {
        if (e.kind == Expr::Kind::Name && findVariable(e.text))
          fail(e.where, "\"" + e.text + "\" is a variable, not something to call");
        evaluate(e);
      }
      return Flow::Normal;
    }
    case Stmt::Kind::If: return ifStatement(s);
    case Stmt::Kind::For: return forStatement(s);
    case Stmt::Kind::ForEach: return forEach(s);
    case Stmt::Kind::While: return whileStatement(s);
    case Stmt::Kind::Do: return doStatement(s);
    case Stmt::Kind::Select: return selectStatement(s);
    case Stmt::Kind::Try: return tryStatement(s);
    case Stmt::Kind::Raise: {
      Value e = evaluate(*s.value);
      host::ClassInfo* cls = e.isObject() ? rt_.classOf(e.v) : nullptr;
      host::ClassInfo* base = rt_.findClass("RuntimeException");
      if (e.isNil()) raise("NilObjectException", "Raise was given Nil", s.where);
      if (!cls || !base || !cls->isA(base)) fail(s.value->where, "Raise expects a RuntimeException but got " + withArticle(typeNameOf(e)));
      throw Raised{e, s.where, {}};
    }
    case Stmt::Kind::Return: return returnStatement(s);
    case Stmt::Kind::Exit:
      if (!s.name.empty()) strand().loopTarget = key(s.name);
      switch (s.loop) {
        case LoopKind::For: return Flow::ExitFor;
        case LoopKind::While: return Flow::ExitWhile;
        case LoopKind::Do: return Flow::ExitDo;
        case LoopKind::Select: return Flow::ExitSelect;
        case LoopKind::Sub:
        case LoopKind::Function: return Flow::Return;
        default: return Flow::ExitAny;
      }
    case Stmt::Kind::Continue:
      if (!s.name.empty()) strand().loopTarget = key(s.name);
      switch (s.loop) {
        case LoopKind::For: return Flow::ContinueFor;
        case LoopKind::While: return Flow::ContinueWhile;
        case LoopKind::Do: return Flow::ContinueDo;
        default: return Flow::ContinueAny;
      }
    case Stmt::Kind::Redim: return redim(s);
  }
  return Flow::Normal;
}

Flow Interpreter::dim(const Stmt& s) {
  for (const DimItem& item : s.items) {
    auto variable = std::make_shared<Variable>();
    variable->type = resolveType(rt_, item.type);
    variable->value = initialValue(item, variable->type);
    declare(item.name, std::move(variable), item.where);
  }
  return Flow::Normal;
}

// What a Dim (or a property of a class) starts with: a new object, its initial value,
// or its type's default (an array of its size).
Value Interpreter::initialValue(const DimItem& item, const Type& type) {
  if (item.isNew) {
    if (!type.cls) fail(item.type.where, "\"As New\" needs a class");
    return construct(type.cls, arguments(item.newArgs), &item.newArgs, item.type.where);
  }
  if (item.initializer)
    return convertTo(rt_, type, evaluate(*item.initializer), item.initializer->where, "\"" + item.name + "\"");
  Value value = defaultValue(rt_, type);
  if (item.sized) {
    Value size = evaluate(*item.size);
    if (!size.isInteger()) fail(item.size->where, "an array's upper bound must be an Integer");
    int64_t upper = size.integer();
    checkUpperBound(upper, item.size->where);
    for (int64_t i = 0; i <= upper; ++i) value.array->items.push_back(defaultValue(rt_, type.element()));
  }
  return value;
}

Flow Interpreter::constant(const Stmt& s) {
  const DimItem& item = s.items.at(0);
  auto variable = std::make_shared<Variable>();
  Value value = evaluate(*item.initializer);
  if (!item.type.empty()) {
    variable->type = resolveType(rt_, item.type);
    value = convertTo(rt_, variable->type, value, item.initializer->where, "\"" + item.name + "\"");
  } else if (value.isInteger()) {
    variable->type = resolveType(rt_, "Integer", false, item.where);
  } else if (value.isReal()) {
    variable->type = resolveType(rt_, "Double", false, item.where);
  } else if (value.isString()) {
    variable->type = resolveType(rt_, "String", false, item.where);
  } else if (value.isBoolean()) {
    variable->type = resolveType(rt_, "Boolean", false, item.where);
  } else if (value.isColor()) {
    variable->type = resolveType(rt_, "Color", false, item.where);
  } else {
    fail(item.initializer->where, "a constant is a number, a string, a Boolean or a colour");
  }
  variable->value = value;
  variable->isConstant = true;
  if (frames().size() == 1 && frames().back().scopes.size() == 1) globalConstants_[key(item.name)] = variable;
  declare(item.name, std::move(variable), item.where);
  return Flow::Normal;
}

Flow Interpreter::assignment(const Stmt& s) {
  Value value = evaluate(*s.value);
  if (s.compound) value = applyBinary(s.op, evaluate(*s.target), value, s.where);
  assign(*s.target, std::move(value), s.value->where);
  return Flow::Normal;
}

void Interpreter::assign(const Expr& target, Value value, Position where) {
  switch (target.kind) {
    case Expr::Kind::Name: {
      VariablePtr variable = findVariable(target.text);
      if (!variable) {
        if (findFunction(target.text)) fail(target.where, "\"" + target.text + "\" is a method; return a result with Return");
        fail(target.where, "unknown variable \"" + target.text + "\"; declare it with Dim or Var");
      }
      if (variable->isConstant) fail(target.where, "\"" + target.text + "\" is a constant");
      variable->value = convertTo(rt_, variable->type, value, where, "\"" + target.text + "\"");
      return;
    }
    case Expr::Kind::Member: {
      if (isClassName(*target.left))
        fail(target.where, "shared properties of " + target.left->text + " cannot be assigned here");
      Value object = evaluate(*target.left);
      if (object.isNil()) raise("NilObjectException", "cannot set " + target.text + " of Nil", target.where);
      if (!object.isObject()) fail(target.where, "cannot assign to " + target.text + " of " + withArticle(typeNameOf(object)));
      if (setProgramProperty(object, target.text, {}, value, where)) return;
      hostCall(target.where, [&] {
        std::vector<std::pair<host::Value, Value>> arrays;
        std::vector<host::Value> one = toHost({value}, where, arrays);
        rt_.set(object.v, target.text, one[0]);
        return host::Value::nil();
      });
      return;
    }
    case Expr::Kind::Call: {
      std::vector<Value> args = arguments(target.args);
      const Expr& callee = *target.left;
      if (callee.kind == Expr::Kind::Member && moduleMember(callee) == "system.environmentvariable") {
        if (args.size() != 1) fail(target.where, "System.EnvironmentVariable takes the variable's name");
        const std::string name = stringArgument(args, 0, "System.EnvironmentVariable", target.where);
        std::vector<Value> one{value};
        if (name.empty() || name.find('=') != std::string::npos)
          raise("InvalidArgumentException", "\"" + name + "\" cannot name an environment variable", target.where);
        ::setenv(name.c_str(), stringArgument(one, 0, "System.EnvironmentVariable", where).c_str(), 1);
        return;
      }
      if (callee.kind == Expr::Kind::Member && !isClassName(*callee.left)) {
        Value object = evaluate(*callee.left);
        if (object.isObject() && setProgramProperty(object, callee.text, args, value, where)) return;
        if (object.isObject()) {
          hostCall(target.where, [&] {
            std::vector<std::pair<host::Value, Value>> arrays;
            std::vector<host::Value> hostArgs = toHost(args, target.where, arrays);
            std::vector<host::Value> one = toHost({value}, where, arrays);
            rt_.assign(object.v, callee.text, hostArgs, one[0]);
            return host::Value::nil();
          });
          return;
        }
        if (object.isNil()) raise("NilObjectException", "cannot assign to " + callee.text + " of Nil", target.where);
        if (object.v.kind == host::Value::Kind::Ptr && !object.isArray()) {
          setPointerMember(object, callee.text, args, value, target.where);
          return;
        }
        Value array = memberOf(object, callee.text, {}, callee.where);
        setElement(array, args, std::move(value), target.where);
        return;
      }
      if (callee.kind == Expr::Kind::Name && !findVariable(callee.text))
        fail(callee.where, "unknown array \"" + callee.text + "\"");
      setElement(evaluate(callee), args, std::move(value), target.where);
      return;
    }
    default:
      fail(target.where, "this cannot be assigned to");
  }
}

Flow Interpreter::ifStatement(const Stmt& s) {
  for (size_t i = 0; i < s.conditions.size(); ++i)
    if (condition(*s.conditions[i], "If")) return executeInScope(s.blocks[i]);
  if (s.hasElse) return executeInScope(s.elseBlock);
  return Flow::Normal;
}

// "Exit For i" or "Continue For i" inside a loop that counts with another variable: the
// flow goes on up to the loop of i.
bool Interpreter::leavesForAnOuterLoop(Flow flow, const std::string& counter) {
  if ((flow != Flow::ExitFor && flow != Flow::ContinueFor) || strand().loopTarget.empty()) return false;
  if (strand().loopTarget != key(counter)) return true;
  strand().loopTarget.clear();
  return false;
}

// A loop's body ended with flow: true when the loop ends (flow then holds what to pass
// on), false when the loop goes on.
bool Interpreter::loopEnds(Flow& flow, Flow exitKind, Flow continueKind) {
  if (flow == Flow::Normal || flow == continueKind || flow == Flow::ContinueAny) return false;
  if (flow == exitKind || flow == Flow::ExitAny) flow = Flow::Normal;
  return true;
}

Flow Interpreter::forStatement(const Stmt& s) {
  BlockScope scope(*this);
  VariablePtr counter;
  if (!s.type.empty()) {
    counter = std::make_shared<Variable>();
    counter->type = resolveType(rt_, s.type);
    if (counter->type.isArray || (counter->type.kind != Type::Kind::Integer && counter->type.kind != Type::Kind::Double))
      fail(s.type.where, "a For loop counts with an Integer or a Double");
    declare(s.name, counter, s.where);
  } else {
    counter = findVariable(s.name);
    if (!counter) fail(s.where, "unknown variable \"" + s.name + "\"; write For " + s.name + " As Integer = ...");
    if (counter->isConstant) fail(s.where, "\"" + s.name + "\" is a constant");
    if (counter->type.isArray || (counter->type.kind != Type::Kind::Integer && counter->type.kind != Type::Kind::Double))
      fail(s.where, "a For loop counts with an Integer or a Double");
  }
  counter->value = convertTo(rt_, counter->type, evaluate(*s.value), s.value->where, "the loop counter");
  Value last = evaluate(*s.target);
  if (!last.isNumber()) fail(s.target->where, "a For loop's end must be a number, not " + withArticle(typeNameOf(last)));
  Value step = host::Value::ofInteger(1);
  if (s.step) {
    step = evaluate(*s.step);
    if (!step.isNumber()) fail(s.step->where, "a For loop's Step must be a number, not " + withArticle(typeNameOf(step)));
  }
  if (counter->type.kind == Type::Kind::Integer && !step.isInteger())
    fail(s.step->where, "an Integer loop counter takes an Integer Step, not " + withArticle(typeNameOf(step)));
  if (s.downTo) step = applyBinary(Op::Subtract, Value(host::Value::ofInteger(0)), step, s.where);
  const bool descending = step.isReal() ? step.real() < 0 : step.integer() < 0;
  bool first = true;
  for (;;) {
    // The end is evaluated again before every pass (a loop to a.LastIndex sees the array
    // shrink or grow), the step only once.
    if (!first) {
      last = evaluate(*s.target);
      if (!last.isNumber()) fail(s.target->where, "a For loop's end must be a number, not " + withArticle(typeNameOf(last)));
    }
    first = false;
    Value now = counter->value;
    bool done = descending ? !equal(now, last, s.where) && applyBinary(Op::Less, now, last, s.where).v.boolean
                           : applyBinary(Op::Greater, now, last, s.where).v.boolean;
    if (done) break;
    Flow flow = executeInScope(s.body);
    if (leavesForAnOuterLoop(flow, s.name)) return flow;
    if (loopEnds(flow, Flow::ExitFor, Flow::ContinueFor)) return flow;
    counter->value = convertTo(rt_, counter->type, applyBinary(Op::Add, counter->value, step, s.where), s.where, "the loop counter");
  }
  return Flow::Normal;
}

// A Dictionary's entries as DictionaryEntry objects, taken before the loop runs.
Value Interpreter::dictionaryEntries(const Value& dictionary, Position where) {
  Value result = makeArray(resolveType(rt_, "DictionaryEntry", false, where));
  const int64_t count = rt_.get(dictionary.v, "Count").integer;
  for (int64_t i = 0; i < count; ++i) {
    host::Value key = rt_.call(dictionary.v, "Key", {host::Value::ofInteger(i)});
    host::Value value = rt_.call(dictionary.v, "Value", {key});
    result.array->items.push_back(Value(rt_.newInstance("DictionaryEntry", {key, value})));
  }
  return result;
}

Flow Interpreter::forEach(const Stmt& s) {
  Value collection = evaluate(*s.value);
  if (collection.isObject() && collection.v.object.get()->cls->isA(rt_.findClass("Dictionary")))
    collection = dictionaryEntries(collection, s.value->where);
  if (!collection.isArray())
    fail(s.value->where, "For Each goes through an array or a Dictionary, not " + withArticle(typeNameOf(collection)));
  BlockScope scope(*this);
  VariablePtr item;
  if (!s.type.empty()) {
    item = std::make_shared<Variable>();
    item->type = resolveType(rt_, s.type);
    declare(s.name, item, s.where);
  } else {
    item = findVariable(s.name);
    if (!item) fail(s.where, "unknown variable \"" + s.name + "\"; write For Each " + s.name + " As Type In ...");
  }
  std::shared_ptr<ArrayObject> array = collection.array;
  for (size_t i = 0; i < array->items.size(); ++i) {
    item->value = convertTo(rt_, item->type, array->items[i], s.where, "\"" + s.name + "\"");
    Flow flow = executeInScope(s.body);
    if (leavesForAnOuterLoop(flow, s.name)) return flow;
    if (loopEnds(flow, Flow::ExitFor, Flow::ContinueFor)) return flow;
  }
  return Flow::Normal;
}

Flow Interpreter::whileStatement(const Stmt& s) {
  while (condition(*s.value, "While")) {
    Flow flow = executeInScope(s.body);
    if (loopEnds(flow, Flow::ExitWhile, Flow::ContinueWhile)) return flow;
  }
  return Flow::Normal;
}

Flow Interpreter::doStatement(const Stmt& s) {
  for (;;) {
    if (s.preCondition && condition(*s.preCondition, "Do") == s.preUntil) break;
    Flow flow = executeInScope(s.body);
    if (loopEnds(flow, Flow::ExitDo, Flow::ContinueDo)) return flow;
    if (s.postCondition && condition(*s.postCondition, "Loop") == s.postUntil) break;
  }
  return Flow::Normal;
}

Flow Interpreter::selectStatement(const Stmt& s) {
  Value subject = evaluate(*s.value);
  for (const CaseBlock& c : s.cases) {
    bool match = c.isElse;
    for (const CaseClause& clause : c.clauses) {
      if (match) break;
      switch (clause.kind) {
        case CaseClause::Kind::Value:
          match = equal(subject, evaluate(*clause.first), clause.first->where);
          break;
        case CaseClause::Kind::Range:
          match = applyBinary(Op::GreaterEqual, subject, evaluate(*clause.first), clause.first->where).v.boolean &&
                  applyBinary(Op::LessEqual, subject, evaluate(*clause.last), clause.last->where).v.boolean;
          break;
        case CaseClause::Kind::Is:
          match = applyBinary(clause.op, subject, evaluate(*clause.first), clause.first->where).v.boolean;
          break;
        case CaseClause::Kind::IsA:
          match = isA(subject, clause.className, clause.where, s.value->where);
          break;
      }
    }
    if (match) {
      Flow flow = executeInScope(c.body);
      return flow == Flow::ExitSelect ? Flow::Normal : flow;
    }
  }
  return Flow::Normal;
}

Flow Interpreter::tryStatement(const Stmt& s) {
  Flow flow = Flow::Normal;
  const size_t frameCount = frames().size();
  const size_t scopeCount = frames().back().scopes.size();
  try {
    try {
      flow = s.methodScope ? execute(s.body) : executeInScope(s.body);
    } catch (Raised& raised) {
      // Unwind to this Try's frame (the exception may come from a nested call).
      frames().resize(frameCount);
      frames().back().scopes.resize(scopeCount);
      host::ClassInfo* cls = rt_.classOf(raised.exception.v);
      const CatchBlock* handler = nullptr;
      for (const CatchBlock& c : s.catches) {
        if (c.className.empty()) {
          handler = &c;
          break;
        }
        host::ClassInfo* wanted = rt_.findClass(c.className);
        if (!wanted) fail(c.where, "unknown exception class \"" + c.className + "\"");
        if (cls && cls->isA(wanted)) {
          handler = &c;
          break;
        }
      }
      if (!handler) throw;
      BlockScope scope(*this);
      if (!handler->variable.empty()) {
        auto variable = std::make_shared<Variable>();
        variable->type = handler->className.empty() ? resolveType(rt_, "RuntimeException", false, handler->where)
                                                    : resolveType(rt_, handler->className, false, handler->where);
        variable->value = raised.exception;
        declare(handler->variable, variable, handler->where);
      }
      flow = execute(handler->body);
    }
  } catch (const ProgramError&) {
    throw;  // a mistake in the program ends it at once; Finally is for exceptions
  } catch (const Quit&) {
    throw;
  } catch (...) {
    if (s.hasFinally) {
      if (frames().size() > frameCount) frames().resize(frameCount);
      frames().back().scopes.resize(scopeCount);
      Flow finallyFlow = executeInScope(s.finallyBlock);
      if (finallyFlow != Flow::Normal) return finallyFlow;
    }
    throw;
  }
  if (s.hasFinally) {
    Flow finallyFlow = executeInScope(s.finallyBlock);
    if (finallyFlow != Flow::Normal) return finallyFlow;
  }
  return flow;
}

Flow Interpreter::returnStatement(const Stmt& s) {
  Frame& frame = frames().back();
  if (!frame.function) {
    if (s.value) fail(s.value->where, "the main program returns no value");
    return Flow::Return;
  }
  if (!frame.function->isFunction) {
    if (s.value) fail(s.value->where, "a Sub returns no value");
    return Flow::Return;
  }
  const Function* function = frame.function;
  if (!s.value) fail(s.where, "Return in a Function needs a value of type " + frame.resultType.describe());
  Value value = evaluate(*s.value);
  frames().back().result = convertTo(rt_, frames().back().resultType, value, s.value->where, "the result of " + function->name);
  return Flow::Return;
}

Flow Interpreter::redim(const Stmt& s) {
  Value array = evaluate(*s.target);
  if (!array.isArray()) fail(s.target->where, "Redim resizes an array, not " + withArticle(typeNameOf(array)));
  Value size = evaluate(*s.value);
  if (!size.isInteger()) fail(s.value->where, "an array's upper bound must be an Integer");
  int64_t upper = size.integer();
  checkUpperBound(upper, s.value->where);
  auto& items = array.array->items;
  while (static_cast<int64_t>(items.size()) > upper + 1) items.pop_back();
  while (static_cast<int64_t>(items.size()) < upper + 1) items.push_back(defaultValue(rt_, array.array->elementType));
  return Flow::Normal;
}

// ---- expressions

bool Interpreter::condition(const Expr& e, const char* what) {
  Value v = evaluate(e);
  if (!v.isBoolean()) fail(e.where, std::string(what) + " expects a Boolean but got " + withArticle(typeNameOf(v)));
  return v.v.boolean;
}

std::vector<Value> Interpreter::arguments(const std::vector<ExprPtr>& args) {
  std::vector<Value> out;
  out.reserve(args.size());
  for (const ExprPtr& a : args) out.push_back(evaluate(*a));
  return out;
}

Value Interpreter::evaluate(const Expr& e) {
  switch (e.kind) {
    case Expr::Kind::Integer: return host::Value::ofInteger(e.integer);
    case Expr::Kind::Double: return host::Value::ofDouble(e.real);
    case Expr::Kind::String: return string(e.text);
    case Expr::Kind::Color: return host::Value::ofColor(static_cast<uint32_t>(e.integer));
    case Expr::Kind::Boolean: return host::Value::ofBoolean(e.integer != 0);
    case Expr::Kind::Nil: return host::Value::nil();
    case Expr::Kind::Name: return name(e);
    case Expr::Kind::Member: return member(e);
    case Expr::Kind::Call: return call(e);
    case Expr::Kind::New: return newObject(e);
    case Expr::Kind::ArrayLiteral: return arrayLiteral(e);
    case Expr::Kind::IfExpression: {
      // Only the chosen value is evaluated; a Double on either side makes the result a Double.
      bool which = condition(*e.args[0], "If(...)");
      Value v = evaluate(*e.args[which ? 1 : 2]);
      return v;
    }
    case Expr::Kind::Unary: return unary(e);
    case Expr::Kind::Binary: return binary(e);
    case Expr::Kind::IsA: return host::Value::ofBoolean(isA(evaluate(*e.left), e.text, e.where, e.left->where));
  }
  fail(e.where, "cannot evaluate this expression");
}

bool Interpreter::isA(const Value& object, const std::string& className, Position where, Position objectWhere) {
  host::ClassInfo* wanted = rt_.findClass(className);
  if (!wanted) fail(where, "unknown class \"" + className + "\"");
  if (!object.isNil() && !object.isObject()) fail(objectWhere, "IsA tests an object, not " + withArticle(typeNameOf(object)));
  host::ClassInfo* cls = rt_.classOf(object.v);
  return cls && cls->isA(wanted);
}

Value Interpreter::name(const Expr& e) {
  if (VariablePtr variable = findVariable(e.text)) {
    Value v = variable->value;
    v.variant = variable->type.kind == Type::Kind::Variant && !variable->type.isArray;
    return v;
  }
  if (findFunction(e.text)) return callFunction(e.text, {}, e.where, true);
  Value out;
  std::vector<Value> none;
  if (isBuiltin(e.text) && builtin(e.text, none, {}, e.where, out)) return out;
  if (rt_.hasGlobal(e.text)) return globalCall(e.text, {}, e.where);
  if (isClassName(e)) fail(e.where, "\"" + e.text + "\" is a class; make an instance with New " + e.text);
  fail(e.where, "unknown name \"" + e.text + "\"");
}

std::string Interpreter::moduleMember(const Expr& member) const {
  if (member.left->kind != Expr::Kind::Name || findVariable(member.left->text) || findFunction(member.left->text)) return "";
  const std::string qualified = key(member.left->text) + "." + key(member.text);
  return isBuiltin(qualified) ? qualified : std::string();
}

// Whether e is the name of a variable: then v.Name is a member of its value, and no module,
// Super or class of that name needs looking for.
bool Interpreter::namesVariable(const Expr& e) const { return e.kind == Expr::Kind::Name && findVariable(e.text); }

Value Interpreter::member(const Expr& e) {
  if (!namesVariable(*e.left)) {
    if (const std::string qualified = moduleMember(e); !qualified.empty()) {
      std::vector<Value> none;
      Value out;
      builtin(qualified, none, {}, e.where, out);
      return out;
    }
    if (isSuper(*e.left)) return superMember(e.text, {}, e.where, nullptr);
    if (isClassName(*e.left)) return sharedMember(e.left->text, e.text, {}, e.where);
    if (const Expr& group = *e.left; group.kind == Expr::Kind::Member && isClassName(*group.left))
      if (const std::string k = groupedConstant(rt_.findClass(group.left->text), group.text, e.text); !k.empty())
        return sharedMember(group.left->text, k, {}, e.where);
  }
  Value object = evaluate(*e.left);
  if (const Type* t = staticType(*e.left); t && t->kind == Type::Kind::Variant && !t->isArray) object.variant = true;
  return memberOf(object, e.text, {}, e.where);
}

Value Interpreter::call(const Expr& e) {
  const Expr& callee = *e.left;
  if (callee.kind == Expr::Kind::Name) {
    if (VariablePtr variable = findVariable(callee.text)) {
      Value v = variable->value;
      if (!v.isArray()) fail(e.where, "\"" + callee.text + "\" is " + withArticle(typeNameOf(v)) + ", not an array or a method");
      return index(v, arguments(e.args), e.where);
    }
    if (findFunction(callee.text)) return callFunction(callee.text, e.args, e.where, true);
    if (sameName(callee.text, "ctype")) return ctype(e);
    if (sameName(callee.text, "array")) return arrayLiteral(e);
    if (isBuiltin(callee.text)) {
      std::vector<Value> args;
      Value out;
      if (!sameName(callee.text, "ubound") && !sameName(callee.text, "redim"))
        args = arguments(e.args);
      if (builtin(callee.text, args, e.args, e.where, out)) return out;
    }
    if (rt_.hasGlobal(callee.text)) return globalCall(callee.text, arguments(e.args), e.where);
    if (isClassName(callee)) return cast(e);
    fail(callee.where, "unknown method \"" + callee.text + "\"");
  }
  if (callee.kind == Expr::Kind::Member) {
    if (!namesVariable(*callee.left)) {
      if (const std::string qualified = moduleMember(callee); !qualified.empty()) {
        std::vector<Value> args;
        Value out;
        builtin(qualified, args, e.args, e.where, out);
        return out;
      }
      if (isSuper(*callee.left)) return superMember(callee.text, arguments(e.args), e.where, &e.args);
      if (isClassName(*callee.left)) return sharedMember(callee.left->text, callee.text, arguments(e.args), e.where, &e.args);
    }
    Value object = evaluate(*callee.left);
    if (const Type* t = staticType(*callee.left); t && t->kind == Type::Kind::Variant && !t->isArray) object.variant = true;
    return memberOf(object, callee.text, arguments(e.args), e.where, &e.args);
  }
  Value target = evaluate(callee);
  if (!target.isArray()) fail(e.where, withArticle(typeNameOf(target)) + " cannot be indexed");
  return index(target, arguments(e.args), e.where);
}

// Array(a, b, ...): of the type the checker inferred from the values' declared types,
// else of the type the values themselves show.
Value Interpreter::arrayLiteral(const Expr& e) {
  const Type* type = staticType(e);
  if (!type || !type->isArray) {
    std::vector<Value> none;
    Value out;
    builtin("array", none, e.args, e.where, out);
    return out;
  }
  std::vector<Value> items;
  for (const ExprPtr& a : e.args) items.push_back(convertTo(rt_, type->element(), evaluate(*a), a->where, "an element of Array(...)"));
  return makeArray(type->element(), std::move(items));
}

Value Interpreter::cast(const Expr& e) {
  const std::string& n = e.left->text;
  if (e.args.size() != 1)
    fail(e.left->where, "\"" + n + "\" is a class; make an instance with New " + n + "(...), or cast one value with " + n + "(value)");
  return castTo(rt_.findClass(n), evaluate(*e.args[0]), e);
}

// CType(value, Type): numbers, Booleans and colours to one another's types, objects to a
// class as a cast does, Variants to anything they convert to.
Value Interpreter::ctype(const Expr& e) {
  if (e.args.size() != 2 || e.args[1]->kind != Expr::Kind::Name) fail(e.where, "CType takes a value and a type: CType(value, Integer)");
  const Type type = resolveType(rt_, e.args[1]->text, false, e.args[1]->where);
  Value value = evaluate(*e.args[0]);
  if (type.kind == Type::Kind::Object && type.cls) return castTo(type.cls, value, e);
  if (value.isBoolean() && (type.kind == Type::Kind::Integer || type.kind == Type::Kind::Double))
    value = host::Value::ofInteger(value.v.boolean ? 1 : 0);
  if (value.isNumber() && type.kind == Type::Kind::Boolean) return host::Value::ofBoolean(value.real() != 0);
  if (value.isColor() && type.kind == Type::Kind::Integer) value = host::Value::ofInteger(value.v.integer);
  if (value.isInteger() && type.kind == Type::Kind::Color) return host::Value::ofColor(static_cast<uint32_t>(value.integer()));
  return convertTo(rt_, type, value, e.args[0]->where, "CType");
}

Value Interpreter::castTo(host::ClassInfo* wanted, const Value& value, const Expr& e) {
  if (value.isNil()) return host::Value::nil();
  if (!value.isObject()) fail(e.args[0]->where, "cannot cast " + withArticle(typeNameOf(value)) + " to " + wanted->name + "; only objects cast to a class");
  host::ClassInfo* cls = rt_.classOf(value.v);
  if (!cls->isA(wanted)) raise("IllegalCastException", "an instance of " + cls->name + " is not " + withArticle(wanted->name), e.where);
  return Value(value.v);
}

Value Interpreter::newObject(const Expr& e) {
  host::ClassInfo* cls = rt_.findClass(e.text);
  if (!cls || cls->name.back() == ')') fail(e.where, "unknown class \"" + e.text + "\"");
  return construct(cls, arguments(e.args), &e.args, e.where);
}

// A class of the program: the instance's properties take their initial values, from its
// topmost program class down, and then the nearest Constructor the program defines runs
// (when there is none, the host's constructors take the arguments).
Value Interpreter::construct(host::ClassInfo* cls, std::vector<Value> args, const std::vector<ExprPtr>* argExprs,
                             Position where) {
  const ClassDefinition* definition = programClassOf(program_, cls);
  std::vector<const Function*> constructors = definition ? methodsOf(definition, "Constructor") : std::vector<const Function*>();
  Value object = constructors.empty() ? hostObject(cls, std::move(args), argExprs, where)
                                      : hostCall(where, [&] { return rt_.newInstanceWithoutConstructor(cls->name); });
  if (definition) {
    std::vector<const ClassDefinition*> chain;
    for (const ClassDefinition* c = definition; c; c = c->superclass) chain.push_back(c);
    for (auto c = chain.rbegin(); c != chain.rend(); ++c)
      for (size_t i = 0; i < (*c)->properties.size(); ++i) {
        const DimItem& item = (*c)->properties[i];
        if (!item.isNew && !item.initializer && !item.sized) continue;
        Value value = initialValue(item, resolveType(rt_, item.type));
        if (std::vector<Value>* values = propertiesOf(object, **c)) (*values)[i] = std::move(value);
      }
  }
  if (!constructors.empty()) invoke(constructors, cls->name + ".Constructor", std::move(args), argExprs, where, false, &object);
  return object;
}

Value Interpreter::unary(const Expr& e) {
  Value v = evaluate(*e.left);
  if (e.op == Op::Negate) {
    if (v.isInteger()) return host::Value::ofInteger(static_cast<int64_t>(0ULL - static_cast<uint64_t>(v.integer())));
    if (v.isReal()) return host::Value::ofDouble(-v.real());
    fail(e.where, "cannot negate " + withArticle(typeNameOf(v)));
  }
  if (v.isBoolean()) return host::Value::ofBoolean(!v.v.boolean);
  if (v.isInteger()) return host::Value::ofInteger(~v.integer());
  fail(e.where, "Not expects a Boolean or an Integer but got " + withArticle(typeNameOf(v)));
}

Value Interpreter::binary(const Expr& e) {
  Value left = evaluate(*e.left);
  // And and Or on Booleans look at their right side only when they must.
  if ((e.op == Op::And || e.op == Op::Or) && left.isBoolean()) {
    if (e.op == Op::And && !left.v.boolean) return host::Value::ofBoolean(false);
    if (e.op == Op::Or && left.v.boolean) return host::Value::ofBoolean(true);
    Value right = evaluate(*e.right);
    if (!right.isBoolean())
      fail(e.right->where, std::string(e.op == Op::And ? "And" : "Or") + " expects a Boolean but got " + withArticle(typeNameOf(right)));
    return host::Value::ofBoolean(right.v.boolean);
  }
  Value right = evaluate(*e.right);
  return applyBinary(e.op, left, right, e.where);
}

// ---- the program's own Subs and Functions

Value Interpreter::callFunction(const std::string& name, const std::vector<ExprPtr>& argExprs, Position where, bool wantResult) {
  std::vector<const Function*> candidates;
  auto range = program_.functions.equal_range(key(name));
  for (auto it = range.first; it != range.second; ++it) candidates.push_back(it->second.get());
  return invoke(candidates, name, arguments(argExprs), &argExprs, where, wantResult, nullptr);
}

Value Interpreter::invoke(const std::vector<const Function*>& candidates, const std::string& name, std::vector<Value> args,
                          const std::vector<ExprPtr>* argExprsGiven, Position where, bool wantResult, const Value* self) {
  static const std::vector<ExprPtr> kNoExpressions;
  const std::vector<ExprPtr>& argExprs = argExprsGiven ? *argExprsGiven : kNoExpressions;
  auto whereOf = [&](size_t i) { return i < argExprs.size() ? argExprs[i]->where : where; };
  // Overloads: the first definition whose parameters take these arguments, judged by
  // their declared types where the checker knows them (a Nil of a declared class fits
  // only that class). A ParamArray takes the remaining arguments as one array.
  const Function* chosen = nullptr;
  std::vector<Type> types;
  std::vector<Value> given;
  auto takes = [&](const Type& t, size_t i) {
    if (!fits(t, args[i])) return false;
    const Type* declared = i < argExprs.size() ? staticType(*argExprs[i]) : nullptr;
    if (!declared || !args[i].isNil() || t.isArray || declared->kind != Type::Kind::Object || !declared->cls) return true;
    if (t.kind == Type::Kind::Variant) return true;
    return t.kind == Type::Kind::Object && (!t.cls || declared->cls->isA(t.cls));
  };
  for (auto candidate = candidates.begin(); candidate != candidates.end() && !chosen; ++candidate) {
    const Function& f = **candidate;
    const bool paramArray = !f.parameters.empty() && f.parameters.back().paramArray;
    const size_t fixed = f.parameters.size() - (paramArray ? 1 : 0);
    if (args.size() > f.parameters.size() && !paramArray) continue;
    std::vector<Type> resolved;
    std::vector<Value> values;
    bool ok = true;
    for (size_t i = 0; i < fixed && ok; ++i) {
      resolved.push_back(resolveType(rt_, f.parameters[i].type));
      if (i < args.size()) ok = takes(resolved.back(), i);
      else ok = f.parameters[i].defaultValue || f.parameters[i].optional;
      if (i < args.size()) values.push_back(args[i]);
    }
    if (ok && paramArray) {
      Type arrayType = resolveType(rt_, f.parameters.back().type);
      resolved.push_back(arrayType);
      if (args.size() == fixed + 1 && args[fixed].isArray() && fits(arrayType, args[fixed])) {
        values.push_back(args[fixed]);
      } else {
        std::vector<Value> rest;
        for (size_t i = fixed; i < args.size() && ok; ++i) {
          ok = takes(arrayType.element(), i);
          if (ok) rest.push_back(convertTo(rt_, arrayType.element(), args[i], whereOf(i), "parameter " + f.parameters.back().name + " of " + name));
        }
        values.push_back(makeArray(arrayType.element(), std::move(rest)));
      }
    }
    if (ok) {
      chosen = &f;
      types = std::move(resolved);
      given = std::move(values);
    }
  }
  if (!chosen) {
    const Function& f = *candidates.front();
    if (candidates.size() == 1) {
      if (args.size() > f.parameters.size())
        fail(where, name + " takes " + std::to_string(f.parameters.size()) + " argument(s) but was given " + std::to_string(args.size()));
      for (size_t i = 0; i < f.parameters.size(); ++i) {
        Type t = resolveType(rt_, f.parameters[i].type);
        if (i < args.size()) convertTo(rt_, t, args[i], whereOf(i), "parameter " + f.parameters[i].name + " of " + name);
        else fail(where, name + " needs a value for its parameter " + f.parameters[i].name);
      }
    }
    fail(where, "no version of " + name + " takes these arguments");
  }
  args = std::move(given);
  if (wantResult && !chosen->isFunction) fail(where, name + " is a Sub and has no value");
  const uintptr_t here = reinterpret_cast<uintptr_t>(__builtin_frame_address(0));
  if (strand().depth >= kMaxDepth || (strand().stackBase > here && strand().stackBase - here > strand().stackBudget))
    raise("StackOverflowException", "too many nested calls (" + std::to_string(strand().depth) + ")", where);

  Frame frame;
  frame.function = chosen;
  frame.scopes.emplace_back();
  for (size_t i = 0; i < chosen->parameters.size(); ++i) {
    const Parameter& p = chosen->parameters[i];
    VariablePtr variable;
    if (p.byRef && i < args.size() && !p.paramArray) {
      if (i >= argExprs.size()) fail(where, "the ByRef parameter " + p.name + " of " + name + " needs a variable");
      const Expr& a = *argExprs[i];
      VariablePtr source = a.kind == Expr::Kind::Name ? findVariable(a.text) : nullptr;
      if (!source || source->isConstant) fail(a.where, "the ByRef parameter " + p.name + " of " + name + " needs a variable");
      if (source->type.describe() != types[i].describe() && lowered(source->type.describe()) != lowered(types[i].describe()))
        fail(a.where, "the ByRef parameter " + p.name + " of " + name + " needs a variable of type " + types[i].describe());
      variable = source;
    } else {
      variable = std::make_shared<Variable>();
      variable->type = types[i];
      if (i < args.size())
        variable->value = convertTo(rt_, types[i], args[i], whereOf(i), "parameter " + p.name + " of " + name);
      else if (p.defaultValue) variable->value = convertTo(rt_, types[i], evaluate(*p.defaultValue), p.defaultValue->where, "parameter " + p.name);
      else variable->value = defaultValue(rt_, types[i]);
    }
    frame.scopes.back()[key(p.name)] = variable;
  }
  // A method of a class sees its instance as Self and Me.
  if (self && !chosen->isShared)
    for (const char* n : {"self", "me"}) {
      auto variable = std::make_shared<Variable>();
      variable->type = resolveType(rt_, chosen->owner->name, false, where);
      variable->value = *self;
      variable->isConstant = true;
      frame.scopes.back()[n] = variable;
    }
  if (chosen->isFunction) {
    frame.resultType = resolveType(rt_, chosen->returnType);
    frame.result = defaultValue(rt_, frame.resultType);
  }
  frames().push_back(std::move(frame));
  ++strand().depth;
  struct Leave {
    Interpreter* self;
    size_t frames;
    ~Leave() {
      --self->strand().depth;
      if (self->frames().size() > frames) self->frames().resize(frames);
    }
  } leave{this, frames().size() - 1};
  try {
    execute(chosen->body);
  } catch (Raised& raised) {
    raised.trace.emplace_back(chosen->owner ? chosen->owner->name + "." + chosen->name : chosen->name, where.line);
    throw;
  }
  return frames().back().result;
}

}  // namespace qvrlang
