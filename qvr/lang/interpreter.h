// The interpreter: runs a parsed Program statement by statement in a host::Runtime.
// Language values are host values, so calls on host and plugin classes pass them
// through unchanged; the interpreter's own exceptions are host exception objects too.
#pragma once

#include "ast.h"
#include "checker.h"
#include "lexer.h"
#include "values.h"

#include <host/runtime.h>

#include <cstdint>
#include <map>
#include <memory>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace qvrlang {

// A random number from 0 up to 1 (Rnd, Shuffle).
double randomUnit();


struct Variable {
  Type type;
  Value value;
  bool isConstant = false;
};
using VariablePtr = std::shared_ptr<Variable>;

// How a statement ended: normally, or leaving its block for an enclosing construct.
enum class Flow { Normal, Return, ExitFor, ExitWhile, ExitDo, ExitAny, ExitSelect, ContinueFor, ContinueWhile, ContinueDo, ContinueAny };

class Interpreter {
 public:
  // types: the checker's static types of the program's expressions.
  // err: where System.DebugLog and StdErr write.
  Interpreter(host::Runtime& rt, const Program& program, std::ostream& out, std::ostream& err, StaticTypes types = {});

  // Runs the main statements. Throws ProgramError for errors in the program and Raised
  // for a host exception that the program did not catch.
  void run();
  ~Interpreter();

  host::Runtime& runtime() { return rt_; }
  std::ostream& out() { return out_; }
  // The error output, after what the program printed so far: where both streams end up
  // in one place (a terminal, 2>&1), the lines keep the order the program wrote them in.
  std::ostream& err() {
    out_.flush();
    return err_;
  }
  // The program file as it was given ("" for program text without a file).
  const std::string& programPath() const { return program_.path; }

  // Raises a host exception of the class (RuntimeException when the runtime has no such
  // class) with the message.
  [[noreturn]] void raise(const std::string& className, const std::string& message, Position where);

  // Strings made and read as UTF-8.
  Value string(const std::string& text) { return Value(rt_.string(text)); }
  std::string text(const Value& value);

  // Runs a host call, turning host exceptions into Raised and host complaints about
  // members and overloads into program errors at where; detail() is what such an error
  // adds (made only then).
  template <typename F>
  Value hostCall(Position where, F&& call) {
    return hostCall(where, std::forward<F>(call), [] { return std::string(); });
  }
  template <typename F, typename D>
  Value hostCall(Position where, F&& call, D&& detail);

  // What a failed host call was given and what the member's declarations take.
  std::string overloads(host::ClassInfo* cls, const std::string& member, bool shared, const std::vector<Value>& args);

  // Host values cross into the language (host arrays become language arrays) and back.
  Value fromHost(const host::Value& value);

 private:
  struct Frame {
    std::vector<std::map<std::string, VariablePtr, NameOrder>> scopes;
    const Function* function = nullptr;
    Type resultType;
    Value result;
  };

  // Opens a block scope in the current frame for as long as it lives; the scope goes on
  // every way out of the block, exceptions included.
  class BlockScope {
   public:
    explicit BlockScope(Interpreter& interpreter)
        : interpreter_(interpreter), depth_(interpreter.frames().back().scopes.size()) {
      interpreter.frames().back().scopes.emplace_back();
    }
    ~BlockScope() { interpreter_.frames().back().scopes.resize(depth_); }
    BlockScope(const BlockScope&) = delete;
    BlockScope& operator=(const BlockScope&) = delete;

   private:
    Interpreter& interpreter_;
    size_t depth_;
  };

  // statements
  Flow execute(const Block& block);
  Flow executeInScope(const Block& block);
  Flow statement(const Stmt& s);
  Flow dim(const Stmt& s);
  Flow constant(const Stmt& s);
  Flow assignment(const Stmt& s);
  Flow ifStatement(const Stmt& s);
  Flow forStatement(const Stmt& s);
  Flow forEach(const Stmt& s);
  Value dictionaryEntries(const Value& dictionary, Position where);
  Flow whileStatement(const Stmt& s);
  Flow doStatement(const Stmt& s);
  Flow selectStatement(const Stmt& s);
  Flow tryStatement(const Stmt& s);
  Flow returnStatement(const Stmt& s);
  Flow redim(const Stmt& s);
  bool loopEnds(Flow& flow, Flow exitKind, Flow continueKind);
  bool leavesForAnOuterLoop(Flow flow, const std::string& counter);
  void checkUpperBound(int64_t upper, Position where);
  // Raises OutOfMemoryException for a String longer than the host could hold.
  void checkStringSize(size_t bytes, Position where);

  // expressions
  Value evaluate(const Expr& e);
  bool condition(const Expr& e, const char* what);
  Value name(const Expr& e);
  // Ptr's typed members (pointers.cpp): read into out (false for no such member), and set.
  bool pointerMember(const Value& p, const std::string& name, const std::vector<Value>& args, Position where, Value& out);
  void setPointerMember(const Value& p, const std::string& name, const std::vector<Value>& args, const Value& value, Position where);
  uintptr_t pointerAddress(const Value& p, const std::string& name, const std::vector<Value>& args, Position where);
  // Whether object is an instance of the class (or a subclass); Nil is none.
  bool isA(const Value& object, const std::string& className, Position where, Position objectWhere);
  Value member(const Expr& e);
  Value call(const Expr& e);
  Value newObject(const Expr& e);
  Value construct(host::ClassInfo* cls, std::vector<Value> args, const std::vector<ExprPtr>* argExprs, Position where);
  Value hostObject(host::ClassInfo* cls, std::vector<Value> args, const std::vector<ExprPtr>* argExprs, Position where);
  void hostConstructor(const Value& object, std::vector<Value> args, const std::vector<ExprPtr>* argExprs, Position where);
  Value initialValue(const DimItem& item, const Type& type);
  Value binary(const Expr& e);
  Value unary(const Expr& e);
  std::vector<Value> arguments(const std::vector<ExprPtr>& args);
  void assign(const Expr& target, Value value, Position where);

  // names
  VariablePtr findVariable(const std::string& name) const;
  void declare(const std::string& name, VariablePtr variable, Position where);
  bool isClassName(const Expr& e) const;
  bool isSuper(const Expr& e) const;
  // Module.Function (Bitwise.ShiftLeft): the built-in's qualified name, or "".
  std::string moduleMember(const Expr& member) const;
  bool namesVariable(const Expr& e) const;
  const Function* findFunction(const std::string& name) const;

  // user Subs and Functions
  Value callFunction(const std::string& name, const std::vector<ExprPtr>& argExprs, Position where, bool wantResult);
  // Runs the first of the candidates (overloads, or a method and what it overrides) that
  // takes the arguments; argExprs (when known) give their declared types and the
  // variables of ByRef parameters; self is the instance for a class's method.
  Value invoke(const std::vector<const Function*>& candidates, const std::string& name, std::vector<Value> args,
               const std::vector<ExprPtr>* argExprs, Position where, bool wantResult, const Value* self);

  // Classes the program defines (members.cpp).
  Value programMember(const Value& object, const ClassDefinition& cls, const std::string& name, std::vector<Value> args,
                      Position where, const std::vector<ExprPtr>* argExprs, bool& found);
  bool setProgramProperty(const Value& object, const std::string& name, const std::vector<Value>& index, Value value,
                          Position where);
  Value newProgramObject(host::ClassInfo* cls, const ClassDefinition& definition, const Expr& e);
  Value superMember(const std::string& name, std::vector<Value> args, Position where, const std::vector<ExprPtr>* argExprs);
  Value programConstant(const ClassDefinition& owner, size_t index, Position where);
  bool startsThread(const Value& object, const std::string& name);

  // members of values
  Value memberOf(const Value& object, const std::string& name, std::vector<Value> args, Position where,
                 const std::vector<ExprPtr>* argExprs = nullptr);
  Value hostMember(const Value& object, const std::string& name, std::vector<Value> args, Position where,
                   const std::vector<ExprPtr>* argExprs);
  Value globalCall(const std::string& name, std::vector<Value> args, Position where);
  Value sharedMember(const std::string& className, const std::string& name, std::vector<Value> args, Position where,
                     const std::vector<ExprPtr>* argExprs = nullptr);
  // Members every Variant has, whatever it holds (variant.cpp), and Variant's constants.
  Value variantMember(const Value& value, const std::string& name, const std::vector<Value>& args, Position where);
  Value variantConstant(const std::string& name, Position where);
  // ClassName(value): the object as that class, Nil as Nil, otherwise IllegalCastException.
  Value cast(const Expr& e);
  Value castTo(host::ClassInfo* wanted, const Value& value, const Expr& e);
  Value ctype(const Expr& e);
  Value arrayLiteral(const Expr& e);
  // The overload of a host member that the arguments' declared types choose, as its
  // declaration, converting Strings and MemoryBlocks where it takes the other; empty
  // when the host may choose by the values themselves.
  std::string chooseHostOverload(host::ClassInfo* cls, const std::string& name, bool shared, std::vector<Value>& args,
                                 const std::vector<ExprPtr>* argExprs, Position where);
  // The checker's type of an expression (null: not known before running).
  const Type* staticType(const Expr& e) const;
  Value arrayMember(const Value& array, const std::string& name, std::vector<Value>& args, Position where);
  Value index(const Value& array, const std::vector<Value>& args, Position where);
  void setElement(const Value& array, const std::vector<Value>& args, Value value, Position where);

  // host values
  std::vector<host::Value> toHost(const std::vector<Value>& args, Position where, std::vector<std::pair<host::Value, Value>>& arrays);
  void copyBack(const std::vector<std::pair<host::Value, Value>>& arrays);

 public:
  // Operators (operators.cpp), shared with Select Case.
  Value applyBinary(Op op, const Value& a, const Value& b, Position where);
  bool equal(const Value& a, const Value& b, Position where);
  // Built-in functions (builtins.cpp): true when name is one; result in out.
  bool builtin(const std::string& name, std::vector<Value>& args, const std::vector<ExprPtr>& argExprs, Position where, Value& out);
  bool isBuiltin(const std::string& name) const;
  // Members of strings, numbers and colours (builtins.cpp).
  bool valueMember(const Value& value, const std::string& name, std::vector<Value>& args, Position where, Value& out);
  // Argument checks for built-ins.
  std::string stringArgument(const std::vector<Value>& args, size_t i, const char* function, Position where);
  double numberArgument(const std::vector<Value>& args, size_t i, const char* function, Position where);
  int64_t integerArgument(const std::vector<Value>& args, size_t i, const char* function, Position where);

 private:
  host::Runtime& rt_;
  const Program& program_;
  std::ostream& out_;
  std::ostream& err_;
  StaticTypes types_;
  std::map<std::string, VariablePtr, NameOrder> globalConstants_;

  // What each host thread running the program has of its own: the main program's thread
  // and each Thread the program starts (they take turns, each on its own OS stack).
  struct Strand {
    std::vector<Frame> frames;
    std::string loopTarget;  // the counter an "Exit For i" or "Continue For i" is bound for
    int depth = 0;
    uintptr_t stackBase = 0;
    size_t stackBudget = 0;
  };
  static Strand*& currentStrand();  // the calling OS thread's
  Strand& strand() const { return *currentStrand(); }
  std::vector<Frame>& frames() const { return currentStrand()->frames; }
  Strand main_;
  std::vector<const ClassDefinition*> threadClasses_;  // classes whose Run this interpreter handles
  bool threadFailed_ = false;                          // a Thread of the program ended by an error
  void runThread(const ClassDefinition& cls, const Value& self);
};

template <typename F, typename D>
Value Interpreter::hostCall(Position where, F&& call, D&& detail) {
  try {
    return fromHost(call());
  } catch (host::HostException& e) {
    throw Raised{Value(host::Value::ofObject(e.exception())), where, {}};
  } catch (host::ThrownObject& e) {
    fail(where, "a platform exception of class " + e.className() + " came out of the plugin unconverted");
  } catch (std::invalid_argument& e) {
    fail(where, e.what() + detail());
  } catch (std::bad_alloc&) {
    raise("OutOfMemoryException", "out of memory", where);
  } catch (ProgramError&) {
    throw;
  } catch (std::exception& e) {
    fail(where, std::string("the host could not make this call: ") + e.what());
  }
}

}  // namespace qvrlang
