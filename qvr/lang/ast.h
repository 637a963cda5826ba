// The syntax tree of a program: expressions, statements, and the Sub and Function
// definitions, each node with the position of its first token for error messages.
#pragma once

#include "errors.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace host {
struct ClassInfo;
}

namespace qvrlang {

struct Expr;
struct Stmt;
using ExprPtr = std::unique_ptr<Expr>;
using StmtPtr = std::unique_ptr<Stmt>;
using Block = std::vector<StmtPtr>;

// A type as written: "Integer", "NSImageQVR", "String()" (isArray).
struct TypeName {
  std::string name;
  bool isArray = false;
  Position where;
  bool empty() const { return name.empty(); }
  std::string describe() const { return isArray ? name + "()" : name; }
};

enum class Op {
  Add, Subtract, Multiply, Divide, IntegerDivide, Modulo, Power,
  Equal, NotEqual, Less, LessEqual, Greater, GreaterEqual,
  And, Or, Xor, Not, Negate, Is,
};

// How the operator is written in a program, for messages ("Mod", "<>", ...).
const char* symbolOf(Op op);

struct Expr {
  enum class Kind { Integer, Double, String, Color, Boolean, Nil, Name, Member, Call, New, ArrayLiteral, Unary, Binary, IsA, IfExpression };
  Kind kind;
  Position where;
  int64_t integer = 0;       // Integer, Color, Boolean (0 or 1)
  double real = 0;           // Double
  std::string text;          // String contents; Name, Member and New: the name; IsA: the class
  Op op = Op::Add;           // Unary, Binary
  ExprPtr left, right;       // Member/Call: left is the object or callee; Unary: left
  std::vector<ExprPtr> args; // Call, New, ArrayLiteral; IfExpression: condition, then, else
  bool parentheses = false;  // Call: written with parentheses
  int height = 1;            // levels of the tree below and including this node

  Expr(Kind k, Position p) : kind(k), where(p) {}
};

struct DimItem {
  std::string name;
  Position where;
  TypeName type;
  ExprPtr size;         // Dim a(5) As T: the upper bound
  bool sized = false;
  ExprPtr initializer;  // = value
  bool isNew = false;   // As New ClassName(args)
  std::vector<ExprPtr> newArgs;
};

struct CaseClause {
  enum class Kind { Value, Range, Is, IsA };
  Kind kind = Kind::Value;
  Op op = Op::Equal;    // Is
  ExprPtr first, last;  // Range: first To last
  std::string className;  // IsA
  Position where;
};

struct CaseBlock {
  std::vector<CaseClause> clauses;  // empty: Case Else
  bool isElse = false;
  Block body;
  Position where;
};

struct CatchBlock {
  std::string variable;  // may be empty
  std::string className; // empty: catches every exception
  Block body;
  Position where;
};

enum class LoopKind { None, For, While, Do, Sub, Function, Select };

struct Stmt {
  enum class Kind { Dim, Const, Assign, Call, If, For, ForEach, While, Do, Exit, Continue, Select, Try, Raise, Return, Redim };
  Kind kind;
  Position where;

  // Dim
  std::vector<DimItem> items;
  // Const: items[0] with its initializer. Assign: target, op (Add for +=, ...), value
  ExprPtr target, value;
  bool compound = false;
  Op op = Op::Add;
  // Call: value. If: conditions[i] guards blocks[i]; elseBlock
  std::vector<ExprPtr> conditions;
  std::vector<Block> blocks;
  Block elseBlock;
  bool hasElse = false;
  // For: name, declared type, from (value), to (target), step; ForEach: name, type, value
  std::string name;
  TypeName type;
  ExprPtr step;
  bool downTo = false;
  Block body;
  // Do: condition before (pre) or after (post) the body; until: loop while it is false
  ExprPtr preCondition, postCondition;
  bool preUntil = false, postUntil = false;
  // Exit, Continue
  LoopKind loop = LoopKind::None;
  // Select
  std::vector<CaseBlock> cases;
  // Try
  std::vector<CatchBlock> catches;
  Block finallyBlock;
  bool hasFinally = false;
  bool methodScope = false;  // Exception blocks of a method: its body and they see its variables

  Stmt(Kind k, Position p) : kind(k), where(p) {}
};

struct Parameter {
  std::string name;
  TypeName type;
  bool byRef = false;
  bool optional = false;
  bool paramArray = false;  // ParamArray: takes the remaining arguments as an array
  ExprPtr defaultValue;
  Position where;
};

struct ClassDefinition;

struct Function {
  std::string name;
  bool isFunction = false;  // Function (with a result) or Sub
  std::vector<Parameter> parameters;
  TypeName returnType;
  Block body;
  Position where;
  const ClassDefinition* owner = nullptr;  // the class of a method, null for a global Sub or Function
  bool isShared = false;                   // a Shared method: called on the class, without Self
};

using Functions = std::multimap<std::string, std::unique_ptr<Function>>;  // by lower-case name; overloads allowed

// A class the program defines: its superclass (a program class or a class of the host),
// its properties (each with its type and optional initial value), constants and methods.
// Inside its methods, Self and Me are the instance, Super reaches the superclass's
// methods, and the class's own members may be named without Self.
struct ClassDefinition {
  std::string name, superName;
  Position where;
  host::ClassInfo* info = nullptr;                  // the class as the host knows it, once defined
  const ClassDefinition* superclass = nullptr;      // the superclass when the program defines it too
  std::vector<DimItem> properties;
  std::vector<StmtPtr> constants;  // Const statements
  Functions methods;
};

struct Program {
  std::string file;
  std::string path;  // the program file as given, for App.ExecutableFile ("" for text)
  Block main;
  Functions functions;
  std::vector<std::unique_ptr<ClassDefinition>> classes;  // in the order they are written
};

}  // namespace qvrlang
