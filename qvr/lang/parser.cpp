// The parser: recursive descent over the tokens, one function per construct. The
// language is line-oriented: a statement ends at the end of its line, blocks end at
// their closing keyword (End If, Next, Wend, Loop, ...). Operator precedence, tightest
// first: member access and calls, IsA, ^, negation and Not, * / \ Mod, + -,
// comparisons and Is, And, Or and Xor.
#include "parser.h"

#include "conditional.h"
#include "lexer.h"

#include <algorithm>
#include <map>
#include <initializer_list>
#include <set>

namespace qvrlang {

namespace {

const std::set<std::string> kReserved = {
    "if", "then", "else", "elseif", "end", "for", "each", "to", "downto", "step", "next", "while", "wend",
    "do", "loop", "until", "exit", "continue", "select", "case", "try", "catch", "finally", "raise", "return",
    "dim", "var", "as", "new", "and", "or", "not", "xor", "mod", "is", "isa", "nil", "true", "false", "sub",
    "function", "byref", "byval", "optional", "const", "redim", "in", "paramarray"};

// Limits that keep a hostile or generated program from exhausting the stack of the
// parser or of the interpreter, which both recurse over the tree.
constexpr int kMaxNesting = 256;
constexpr int kMaxHeight = 2000;

class Parser {
 public:
  explicit Parser(std::vector<Token> tokens) : t_(std::move(tokens)) {
    // Module names, wherever the modules are written: Utils.Helper names Helper.
    for (size_t i = 0; i + 1 < t_.size(); ++i)
      if (t_[i].kind == Token::Kind::Identifier && t_[i].lower == "module" && t_[i + 1].kind == Token::Kind::Identifier &&
          (i == 0 || t_[i - 1].kind == Token::Kind::EndOfLine || t_[i - 1].lower == "public" || t_[i - 1].lower == "private"))
        modules_.insert(t_[i + 1].lower);
  }

  Program program() {
    Program p;
    Block moduleConstants;
    for (;;) {
      skipEndsOfLine();
      if (at().kind == Token::Kind::EndOfFile) break;
      if (startsDefinition()) {
        std::unique_ptr<Function> f = definition();
        if (f->isShared) fail(f->where, "only a method of a class can be Shared");
        std::string key = lowered(f->name);
        p.functions.emplace(key, std::move(f));
        continue;
      }
      if (startsClass()) {
        p.classes.push_back(classDefinition());
        continue;
      }
      if (startsModule()) {
        moduleDefinition(p, moduleConstants);
        continue;
      }
      if (isWord("end") || isWord("next") || isWord("wend") || isWord("loop") || isWord("else") ||
          isWord("elseif") || isWord("case") || isWord("catch") || isWord("finally"))
        fail(at().where, "\"" + at().text + "\" without the statement it closes");
      // The main program is the application's Run event: it too may end in Exception
      // blocks, which catch for all of it so far.
      if (isWord("exception") && (at(1).kind == Token::Kind::Identifier || at(1).kind == Token::Kind::EndOfLine)) {
        p.main = handled(std::move(p.main), {"sub", "function", "public", "private", "protected", "shared"});
        continue;
      }
      p.main.push_back(statement());
    }
    // A module's constants are there before the program's first statement runs.
    p.main.insert(p.main.begin(), std::make_move_iterator(moduleConstants.begin()), std::make_move_iterator(moduleConstants.end()));
    return p;
  }

 private:
  // ---- tokens

  const Token& at(size_t ahead = 0) const {
    size_t i = pos_ + ahead;
    return i < t_.size() ? t_[i] : t_.back();
  }
  const Token& next() {
    const Token& t = t_[pos_];
    if (pos_ + 1 < t_.size()) ++pos_;
    return t;
  }
  bool isWord(const char* word, size_t ahead = 0) const {
    const Token& t = at(ahead);
    return t.kind == Token::Kind::Identifier && t.lower == word;
  }
  bool isSymbol(const char* symbol, size_t ahead = 0) const {
    const Token& t = at(ahead);
    return t.kind == Token::Kind::Symbol && t.text == symbol;
  }
  bool acceptWord(const char* word) {
    if (!isWord(word)) return false;
    next();
    return true;
  }
  bool acceptSymbol(const char* symbol) {
    if (!isSymbol(symbol)) return false;
    next();
    return true;
  }
  bool atEndOfLine() const {
    return at().kind == Token::Kind::EndOfLine || at().kind == Token::Kind::EndOfFile;
  }

  static std::string describe(const Token& t) {
    switch (t.kind) {
      case Token::Kind::EndOfLine: return "the end of the line";
      case Token::Kind::EndOfFile: return "the end of the program";
      case Token::Kind::String: return "the string \"" + t.text + "\"";
      default: return "\"" + t.text + "\"";
    }
  }

  [[noreturn]] void expected(const std::string& what) const {
    fail(at().where, "expected " + what + " but found " + describe(at()));
  }

  void expectWord(const char* word, const char* display) {
    if (!acceptWord(word)) expected(std::string("\"") + display + "\"");
  }
  void expectSymbol(const char* symbol) {
    if (!acceptSymbol(symbol)) expected(std::string("\"") + symbol + "\"");
  }
  void expectEndOfLine() {
    if (at().kind == Token::Kind::EndOfFile) return;
    if (at().kind != Token::Kind::EndOfLine) expected("the end of the statement");
    next();
  }
  void skipEndsOfLine() {
    while (at().kind == Token::Kind::EndOfLine) next();
  }

  std::string name(const char* what) {
    const Token& t = at();
    if (t.kind != Token::Kind::Identifier || kReserved.count(t.lower)) expected(what);
    next();
    return t.text;
  }

  TypeName typeName() {
    TypeName type;
    type.where = at().where;
    type.name = name("a type name");
    while (isSymbol(".") && at(1).kind == Token::Kind::Identifier) {  // qualified names: Module.Class
      next();
      type.name += "." + next().text;
    }
    if (isSymbol("(") && isSymbol(")", 1)) {
      next();
      next();
      type.isArray = true;
    }
    return type;
  }

  // ---- definitions

  // How many visibility words (Public, Private, Protected, Global) start here.
  size_t visibilityWords(size_t i = 0) const {
    size_t n = 0;
    while (isWord("public", i + n) || isWord("private", i + n) || isWord("protected", i + n) || isWord("global", i + n)) ++n;
    return n;
  }

  bool startsDefinition() const {
    size_t i = 0;
    for (;;) {
      if (const size_t n = visibilityWords(i)) i += n;
      else if (isWord("shared", i)) ++i;
      else break;
    }
    return isWord("sub", i) || isWord("function", i);
  }

  bool startsModule() const {
    const size_t i = visibilityWords();
    return isWord("module", i) && at(i + 1).kind == Token::Kind::Identifier;
  }

  // Module Name ... End Module: Subs, Functions and constants the whole program shares,
  // named with or without the module's name.
  void moduleDefinition(Program& p, Block& constants) {
    pos_ += visibilityWords();
    next();  // Module
    const Position where = at().where;
    const std::string moduleName = name("the module's name");
    expectEndOfLine();
    for (;;) {
      skipEndsOfLine();
      if (at().kind == Token::Kind::EndOfFile) fail(where, "Module " + moduleName + " has no \"End Module\"");
      if (isWord("end")) break;
      if (startsDefinition()) {
        std::unique_ptr<Function> f = definition();
        if (f->isShared) fail(f->where, "only a method of a class can be Shared");
        p.functions.emplace(lowered(f->name), std::move(f));
        continue;
      }
      pos_ += visibilityWords();
      if (isWord("const")) {
        constants.push_back(constant());
      } else if (isWord("dim") || isWord("var") || isWord("property")) {
        fail(at().where, "properties of a module are not supported; use a constant, or a property of a class");
      } else {
        refuseUnsupported(at());
        expected("a constant, a Sub, a Function or \"End Module\"");
      }
    }
    expectEnd("module", "End Module");
  }

  // "Class Name" (with a name after it, so a variable called Class still works).
  bool startsClass() const {
    const size_t i = visibilityWords();
    return isWord("class", i) && at(i + 1).kind == Token::Kind::Identifier;
  }

  // Class Name [Inherits Super] ... End Class: properties (Dim, Var or Property, with a
  // type and an optional initial value), constants, and methods.
  std::unique_ptr<ClassDefinition> classDefinition() {
    pos_ += visibilityWords();
    auto c = std::make_unique<ClassDefinition>();
    next();  // Class
    c->where = at().where;
    c->name = name("the class's name");
    if (acceptWord("inherits")) c->superName = name("the superclass's name");
    expectEndOfLine();
    for (;;) {
      skipEndsOfLine();
      if (at().kind == Token::Kind::EndOfFile) fail(c->where, "Class " + c->name + " has no \"End Class\"");
      if (isWord("end")) break;
      if (startsDefinition()) {
        std::unique_ptr<Function> f = definition();
        f->owner = c.get();
        c->methods.emplace(lowered(f->name), std::move(f));
        continue;
      }
      const size_t i = visibilityWords();
      if (isWord("shared", i)) fail(at(i).where, "Shared properties are not supported; use a property of an instance or a constant");
      pos_ += i;
      if (isWord("dim") || isWord("var") || isWord("property")) {
        StmtPtr d = dim();
        for (DimItem& item : d->items) c->properties.push_back(std::move(item));
      } else if (isWord("const")) {
        c->constants.push_back(constant());
      } else {
        refuseUnsupported(at());
        expected("a property, a constant, a Sub, a Function or \"End Class\"");
      }
    }
    expectEnd("class", "End Class");
    return c;
  }

  std::unique_ptr<Function> definition() {
    bool shared = false;
    for (;;) {
      if (acceptWord("shared")) shared = true;
      else if (!acceptWord("public") && !acceptWord("private") && !acceptWord("protected")) break;
    }
    auto f = std::make_unique<Function>();
    f->isShared = shared;
    f->where = at().where;
    f->isFunction = isWord("function");
    next();
    f->name = name(f->isFunction ? "the function's name" : "the sub's name");
    if (acceptSymbol("(")) {
      if (!acceptSymbol(")")) {
        do {
          if (!f->parameters.empty() && f->parameters.back().paramArray)
            fail(at().where, "the ParamArray parameter " + f->parameters.back().name + " must be the last");
          f->parameters.push_back(parameter());
        } while (acceptSymbol(","));
        expectSymbol(")");
      }
    }
    if (f->isFunction) {
      expectWord("as", "As");
      f->returnType = typeName();
    } else if (isWord("as")) {
      fail(at().where, "a Sub has no result; declare a Function to return one");
    }
    expectEndOfLine();
    const char* closer = f->isFunction ? "function" : "sub";
    f->body = block({closer, "exception"});
    if (isWord("exception")) f->body = handled(std::move(f->body), {closer});
    expectEnd(closer, f->isFunction ? "End Function" : "End Sub");
    return f;
  }

  // "Exception err As Class" blocks at the end of a method: the body in a Try whose
  // Catches they are, each up to the next one or a closing word.
  Block handled(Block body, std::initializer_list<const char*> closers) {
    auto statement = std::make_unique<Stmt>(Stmt::Kind::Try, body.empty() ? at().where : body.front()->where);
    statement->body = std::move(body);
    statement->methodScope = true;
    std::vector<const char*> until(closers);
    until.push_back("exception");
    while (isWord("exception")) statement->catches.push_back(catchClause(until));
    Block out;
    out.push_back(std::move(statement));
    return out;
  }

  Parameter parameter() {
    Parameter p;
    p.where = at().where;
    for (;;) {
      if (acceptWord("byref")) p.byRef = true;
      else if (acceptWord("byval")) p.byRef = false;
      else if (acceptWord("optional")) p.optional = true;
      else break;
    }
    if (acceptWord("paramarray")) p.paramArray = true;
    p.name = name("a parameter name");
    bool array = false;
    if (isSymbol("(") && isSymbol(")", 1)) {
      next();
      next();
      array = true;
    }
    expectWord("as", "As");
    p.type = typeName();
    if (array || p.paramArray) p.type.isArray = true;
    if (acceptSymbol("=")) {
      if (p.paramArray) fail(at().where, "a ParamArray parameter has no default value");
      p.defaultValue = expression();
    }
    return p;
  }

  // Statements and declarations of the host language that this runner leaves out: each
  // refused by name where it starts (qvr/README.md lists them).
  // Only where the word starts a declaration (a name follows it), so variables of those
  // names still work.
  void refuseUnsupported(const Token& first) const {
    static const std::map<std::string, const char*> kLeftOut = {
        {"interface", "Interface definitions are not supported"},
        {"structure", "Structure definitions are not supported; use a class of the host or a MemoryBlock"},
        {"enum", "Enum definitions are not supported; use constants"},
        {"event", "Event definitions are not supported"},
        {"delegate", "Delegate definitions are not supported"},
        {"property", "a Property belongs to a class; declare it inside Class ... End Class"},
        {"declare", "Declare statements (calls into system libraries) are not supported"},
        {"addhandler", "AddHandler is not supported"},
        {"removehandler", "RemoveHandler is not supported"},
        {"goto", "GoTo is not supported; use loops and Exit"},
        {"static", "Static variables are not supported; use a variable of the main program"},
        {"with", "With blocks are not supported"},
        {"using", "Using is not supported; name classes in full"},
        {"exception", "an Exception block ends a Sub or Function; elsewhere use Try ... Catch"},
        {"raiseevent", "RaiseEvent is not supported"},
        {"soft", "Soft Declare statements are not supported"},
        {"namespace", "Namespace is not supported"},
    };
    const Token& after = at(1);
    if (first.kind != Token::Kind::Identifier) return;
    if (after.kind != Token::Kind::Identifier && !(first.lower == "exception" && after.kind == Token::Kind::EndOfLine)) return;
    auto it = kLeftOut.find(first.lower);
    if (it != kLeftOut.end()) fail(first.where, it->second);
  }

  // ---- blocks and statements

  // Statements up to (not including) a line that starts with one of the closing words.
  Block block(const std::vector<const char*>& closers) {
    Block out;
    for (;;) {
      skipEndsOfLine();
      if (at().kind == Token::Kind::EndOfFile) return out;
      for (const char* c : closers)
        if (isWord(c)) return out;
      if (isWord("end")) return out;
      if (startsDefinition()) fail(at().where, "a Sub or Function cannot be defined inside another block");
      out.push_back(statement());
    }
  }

  // "End" optionally followed by the construct's word.
  void expectEnd(const char* word, const char* display) {
    if (!isWord("end")) expected(std::string("\"") + display + "\"");
    next();
    if (!atEndOfLine()) {
      if (!acceptWord(word)) expected(std::string("\"") + display + "\"");
    }
    expectEndOfLine();
  }

  struct Nest {
    Parser* p;
    explicit Nest(Parser* parser) : p(parser) {
      if (++p->nesting_ > kMaxNesting) fail(p->at().where, "this is nested too deeply (more than " + std::to_string(kMaxNesting) + " levels)");
    }
    ~Nest() { --p->nesting_; }
  };

  // Sets a node's height from its children; a tree too tall to evaluate is an error.
  ExprPtr measured(ExprPtr e) {
    int h = 0;
    if (e->left) h = std::max(h, e->left->height);
    if (e->right) h = std::max(h, e->right->height);
    for (const ExprPtr& a : e->args) h = std::max(h, a->height);
    e->height = h + 1;
    if (e->height > kMaxHeight) fail(e->where, "this expression is too long; split it into several statements");
    return e;
  }

  StmtPtr statement() {
    Nest nest(this);
    const Token& first = at();
    if (first.kind == Token::Kind::Identifier) {
      const std::string& w = first.lower;
      if (w == "dim" || w == "var") return dim();
      if (w == "const") return constant();
      if (w == "if") return ifStatement();
      if (w == "for") return forStatement();
      if (w == "while") return whileStatement();
      if (w == "do") return doStatement();
      if (w == "select") return selectStatement();
      if (w == "try") return tryStatement();
      if (w == "redim") return redim();
    }
    StmtPtr s = simpleStatement();
    expectEndOfLine();
    return s;
  }

  // Statements that fit on one line (also the branches of a single-line If).
  StmtPtr simpleStatement() {
    const Token& first = at();
    Position where = first.where;
    if (first.kind == Token::Kind::Identifier) {
      const std::string& w = first.lower;
      if (w == "exit" || w == "continue") {
        auto s = std::make_unique<Stmt>(w == "exit" ? Stmt::Kind::Exit : Stmt::Kind::Continue, where);
        next();
        if (acceptWord("for")) {
          s->loop = LoopKind::For;
          // "Exit For i", "Continue For i": the loop that counts with i, when loops nest.
          if (at().kind == Token::Kind::Identifier && !isWord("else")) s->name = next().text;
        } else if (acceptWord("while")) s->loop = LoopKind::While;
        else if (acceptWord("do")) s->loop = LoopKind::Do;
        else if (w == "exit" && acceptWord("sub")) s->loop = LoopKind::Sub;
        else if (w == "exit" && acceptWord("function")) s->loop = LoopKind::Function;
        else if (w == "exit" && acceptWord("select")) s->loop = LoopKind::Select;
        return s;
      }
      if (w == "raise") {
        next();
        auto s = std::make_unique<Stmt>(Stmt::Kind::Raise, where);
        s->value = expression();
        return s;
      }
      if (w == "return") {
        next();
        auto s = std::make_unique<Stmt>(Stmt::Kind::Return, where);
        if (!atEndOfLine() && !isWord("else")) s->value = expression();
        return s;
      }
      if (w == "dim" || w == "var") return dim(false);
      if (w == "call") {
        // Call runs a method and drops its result.
        next();
        auto s = std::make_unique<Stmt>(Stmt::Kind::Call, where);
        ExprPtr e = postfix();
        if (e->kind != Expr::Kind::Name && e->kind != Expr::Kind::Member && e->kind != Expr::Kind::Call)
          fail(e->where, "Call expects a method to call");
        if (!atEndOfLine() && !isWord("else")) {
          if (e->kind == Expr::Kind::Call) expected("the end of the statement");
          auto call = std::make_unique<Expr>(Expr::Kind::Call, e->where);
          call->left = std::move(e);
          do {
            call->args.push_back(expression());
          } while (acceptSymbol(","));
          e = measured(std::move(call));
        }
        s->value = std::move(e);
        return s;
      }
      refuseUnsupported(first);
      if (kReserved.count(w) && w != "new") fail(where, "\"" + first.text + "\" cannot start a statement here");
    }
    ExprPtr head = postfix();
    if (isSymbol("=") || isSymbol("+=") || isSymbol("-=") || isSymbol("*=") || isSymbol("/=")) {
      if (head->kind != Expr::Kind::Name && head->kind != Expr::Kind::Member && head->kind != Expr::Kind::Call)
        fail(head->where, "this cannot be assigned to");
      auto s = std::make_unique<Stmt>(Stmt::Kind::Assign, where);
      std::string op = next().text;
      if (op != "=") {
        s->compound = true;
        s->op = op == "+=" ? Op::Add : op == "-=" ? Op::Subtract : op == "*=" ? Op::Multiply : Op::Divide;
      }
      s->target = std::move(head);
      s->value = expression();
      return s;
    }
    auto s = std::make_unique<Stmt>(Stmt::Kind::Call, where);
    if (head->kind == Expr::Kind::Call && head->parentheses && continuesExpression() &&
        (head->left->kind == Expr::Kind::Name || head->left->kind == Expr::Kind::Member)) {
      // "Print (a + b) * 2": the parentheses began the first argument, not an argument list.
      pos_ = lastCallOpen_;
      head = std::move(head->left);
    }
    if (!atEndOfLine() && !isWord("else")) {
      // A call without parentheses: "Print x", "a.Append v", "DoIt 1, 2".
      if (head->kind != Expr::Kind::Name && head->kind != Expr::Kind::Member)
        expected("the end of the statement");
      auto call = std::make_unique<Expr>(Expr::Kind::Call, head->where);
      call->left = std::move(head);
      do {
        call->args.push_back(expression());
      } while (acceptSymbol(","));
      s->value = measured(std::move(call));
      return s;
    }
    if (head->kind != Expr::Kind::Name && head->kind != Expr::Kind::Member && head->kind != Expr::Kind::Call)
      fail(head->where, "this expression is not a statement; assign or use its value");
    s->value = std::move(head);
    return s;
  }

  StmtPtr dim(bool wholeLine = true) {
    auto s = std::make_unique<Stmt>(Stmt::Kind::Dim, at().where);
    next();
    // "Dim a, b As Integer, c As String = "x"": names share the type that follows them.
    std::vector<DimItem> pending;
    for (;;) {
      DimItem item;
      item.where = at().where;
      item.name = name("a variable name");
      if (acceptSymbol("(")) {
        if (!acceptSymbol(")")) {
          item.size = expression();
          item.sized = true;
          if (isSymbol(",")) fail(at().where, "only one-dimensional arrays are supported");
          expectSymbol(")");
        }
        item.type.isArray = true;
      }
      pending.push_back(std::move(item));
      if (acceptSymbol(",")) continue;
      if (!acceptWord("as")) expected("\"As\" and a type");
      bool isNew = acceptWord("new");
      TypeName type = typeName();
      if (isNew) type.isArray = false;  // "As New T()": an empty argument list
      for (DimItem& d : pending) {
        bool array = d.type.isArray;
        d.type.name = type.name;
        d.type.where = type.where;
        d.type.isArray = array || type.isArray;
      }
      if (isNew) {
        if (pending.back().type.isArray) fail(type.where, "\"As New\" makes an object, not an array");
        pending.back().isNew = true;
        if (acceptSymbol("(")) pending.back().newArgs = arguments();
      } else if (acceptSymbol("=")) {
        if (pending.size() > 1) fail(at().where, "an initial value belongs to one variable");
        if (pending.back().type.isArray && pending.back().sized)
          fail(at().where, "an array with a size cannot also have an initial value");
        pending.back().initializer = expression();
      }
      for (DimItem& d : pending) s->items.push_back(std::move(d));
      pending.clear();
      if (!acceptSymbol(",")) break;
    }
    if (wholeLine) expectEndOfLine();
    return s;
  }

  StmtPtr constant() {
    auto s = std::make_unique<Stmt>(Stmt::Kind::Const, at().where);
    next();
    DimItem item;
    item.where = at().where;
    item.name = name("the constant's name");
    if (acceptWord("as")) item.type = typeName();
    expectSymbol("=");
    item.initializer = expression();
    s->items.push_back(std::move(item));
    expectEndOfLine();
    return s;
  }

  StmtPtr redim() {
    auto s = std::make_unique<Stmt>(Stmt::Kind::Redim, at().where);
    next();
    ExprPtr target = postfix();
    if (target->kind != Expr::Kind::Call || target->args.size() != 1)
      fail(target->where, "expected an array and its new upper bound: Redim a(n)");
    s->value = std::move(target->args[0]);
    s->target = std::move(target->left);
    expectEndOfLine();
    return s;
  }

  StmtPtr ifStatement() {
    auto s = std::make_unique<Stmt>(Stmt::Kind::If, at().where);
    next();
    s->conditions.push_back(expression());
    expectWord("then", "Then");
    if (!atEndOfLine()) {
      // Single-line form: If c Then statement [Else statement]
      Block thenBlock;
      thenBlock.push_back(simpleStatement());
      s->blocks.push_back(std::move(thenBlock));
      if (acceptWord("else")) {
        s->hasElse = true;
        s->elseBlock.push_back(simpleStatement());
      }
      expectEndOfLine();
      return s;
    }
    expectEndOfLine();
    s->blocks.push_back(block({"else", "elseif"}));
    for (;;) {
      if (isWord("elseif") || (isWord("else") && isWord("if", 1))) {
        if (isWord("else")) next();
        next();
        s->conditions.push_back(expression());
        expectWord("then", "Then");
        expectEndOfLine();
        s->blocks.push_back(block({"else", "elseif"}));
        continue;
      }
      if (acceptWord("else")) {
        expectEndOfLine();
        s->hasElse = true;
        s->elseBlock = block({"else", "elseif"});
        if (isWord("else") || isWord("elseif")) fail(at().where, "nothing may follow the Else branch of an If");
      }
      break;
    }
    expectEnd("if", "End If");
    return s;
  }

  void expectNext(const std::string& variable) {
    if (!acceptWord("next")) expected("\"Next\"");
    if (!atEndOfLine()) {
      const Token& t = at();
      if (t.kind != Token::Kind::Identifier || t.lower != lowered(variable))
        fail(t.where, "expected \"Next\" or \"Next " + variable + "\" but found " + describe(t));
      next();
    }
    expectEndOfLine();
  }

  StmtPtr forStatement() {
    Position where = at().where;
    next();
    if (acceptWord("each")) {
      auto s = std::make_unique<Stmt>(Stmt::Kind::ForEach, where);
      s->name = name("the loop variable");
      if (acceptWord("as")) s->type = typeName();
      expectWord("in", "In");
      s->value = expression();
      expectEndOfLine();
      s->body = block({"next"});
      expectNext(s->name);
      return s;
    }
    auto s = std::make_unique<Stmt>(Stmt::Kind::For, where);
    s->name = name("the loop variable");
    if (acceptWord("as")) s->type = typeName();
    expectSymbol("=");
    s->value = expression();
    if (acceptWord("downto")) s->downTo = true;
    else expectWord("to", "To");
    s->target = expression();
    if (acceptWord("step")) s->step = expression();
    expectEndOfLine();
    s->body = block({"next"});
    expectNext(s->name);
    return s;
  }

  StmtPtr whileStatement() {
    auto s = std::make_unique<Stmt>(Stmt::Kind::While, at().where);
    next();
    s->value = expression();
    expectEndOfLine();
    s->body = block({"wend"});
    expectWord("wend", "Wend");
    expectEndOfLine();
    return s;
  }

  StmtPtr doStatement() {
    auto s = std::make_unique<Stmt>(Stmt::Kind::Do, at().where);
    next();
    if (isWord("until") || isWord("while")) {
      s->preUntil = isWord("until");
      next();
      s->preCondition = expression();
    }
    expectEndOfLine();
    s->body = block({"loop"});
    expectWord("loop", "Loop");
    if (isWord("until") || isWord("while")) {
      s->postUntil = isWord("until");
      next();
      s->postCondition = expression();
    }
    if (s->preCondition && s->postCondition) fail(s->where, "a Do loop has its condition at the Do or at the Loop, not both");
    expectEndOfLine();
    return s;
  }

  StmtPtr selectStatement() {
    auto s = std::make_unique<Stmt>(Stmt::Kind::Select, at().where);
    next();
    expectWord("case", "Case");
    s->value = expression();
    expectEndOfLine();
    skipEndsOfLine();
    // Case Else may also be written Else.
    while (isWord("case") || isWord("else")) {
      CaseBlock c;
      c.where = at().where;
      if (acceptWord("else") || (next(), acceptWord("else"))) {
        c.isElse = true;
      } else {
        do {
          CaseClause clause;
          clause.where = at().where;
          if (acceptWord("isa")) {
            clause.kind = CaseClause::Kind::IsA;
            clause.className = typeName().name;
          } else if (acceptWord("is")) {
            clause.kind = CaseClause::Kind::Is;
            const Token& t = at();
            if (t.kind != Token::Kind::Symbol) expected("a comparison (= <> < <= > >=)");
            if (t.text == "=") clause.op = Op::Equal;
            else if (t.text == "<>") clause.op = Op::NotEqual;
            else if (t.text == "<") clause.op = Op::Less;
            else if (t.text == "<=") clause.op = Op::LessEqual;
            else if (t.text == ">") clause.op = Op::Greater;
            else if (t.text == ">=") clause.op = Op::GreaterEqual;
            else expected("a comparison (= <> < <= > >=)");
            next();
            clause.first = additive();
          } else {
            clause.first = expression();
            if (acceptWord("to")) {
              clause.kind = CaseClause::Kind::Range;
              clause.last = expression();
            }
          }
          c.clauses.push_back(std::move(clause));
        } while (acceptSymbol(","));
      }
      expectEndOfLine();
      c.body = block({"case", "else"});
      bool wasElse = c.isElse;
      s->cases.push_back(std::move(c));
      if (wasElse && (isWord("case") || isWord("else"))) fail(at().where, "Case Else must be the last Case");
    }
    expectEnd("select", "End Select");
    return s;
  }

  // "Catch [name [As Class]]" (or "Exception ...") and its handler, up to a closer.
  CatchBlock catchClause(const std::vector<const char*>& closers) {
    CatchBlock c;
    c.where = at().where;
    next();
    if (!atEndOfLine()) {
      c.variable = name("the exception's variable name");
      if (acceptWord("as")) c.className = typeName().name;
    }
    expectEndOfLine();
    c.body = block(closers);
    return c;
  }

  StmtPtr tryStatement() {
    auto s = std::make_unique<Stmt>(Stmt::Kind::Try, at().where);
    next();
    expectEndOfLine();
    s->body = block({"catch", "exception", "finally"});
    while (isWord("catch") || isWord("exception")) s->catches.push_back(catchClause({"catch", "exception", "finally"}));
    if (acceptWord("finally")) {
      expectEndOfLine();
      s->hasFinally = true;
      s->finallyBlock = block({"catch", "finally"});
    }
    expectEnd("try", "End Try");
    return s;
  }

  // ---- expressions

  ExprPtr binary(Op op, ExprPtr l, ExprPtr r, Position where) {
    auto e = std::make_unique<Expr>(Expr::Kind::Binary, where);
    e->op = op;
    e->left = std::move(l);
    e->right = std::move(r);
    return measured(std::move(e));
  }

 public:
  ExprPtr expression() {
    Nest nest(this);
    return orExpr();
  }

 private:
  ExprPtr orExpr() {
    ExprPtr l = andExpr();
    for (;;) {
      Position where = at().where;
      if (acceptWord("or")) l = binary(Op::Or, std::move(l), andExpr(), where);
      else if (acceptWord("xor")) l = binary(Op::Xor, std::move(l), andExpr(), where);
      else return l;
    }
  }

  ExprPtr andExpr() {
    ExprPtr l = comparison();
    for (;;) {
      Position where = at().where;
      if (!acceptWord("and")) return l;
      l = binary(Op::And, std::move(l), comparison(), where);
    }
  }

  ExprPtr comparison() {
    ExprPtr l = additive();
    for (;;) {
      Position where = at().where;
      Op op;
      if (isSymbol("=")) op = Op::Equal;
      else if (isSymbol("<>")) op = Op::NotEqual;
      else if (isSymbol("<")) op = Op::Less;
      else if (isSymbol("<=")) op = Op::LessEqual;
      else if (isSymbol(">")) op = Op::Greater;
      else if (isSymbol(">=")) op = Op::GreaterEqual;
      else if (isWord("is")) op = Op::Is;
      else return l;
      next();
      l = binary(op, std::move(l), additive(), where);
    }
  }

  ExprPtr additive() {
    ExprPtr l = multiplicative();
    for (;;) {
      Position where = at().where;
      if (acceptSymbol("+")) l = binary(Op::Add, std::move(l), multiplicative(), where);
      else if (acceptSymbol("-")) l = binary(Op::Subtract, std::move(l), multiplicative(), where);
      else return l;
    }
  }

  ExprPtr multiplicative() {
    ExprPtr l = unary();
    for (;;) {
      Position where = at().where;
      Op op;
      if (isSymbol("*")) op = Op::Multiply;
      else if (isSymbol("/")) op = Op::Divide;
      else if (isSymbol("\\")) op = Op::IntegerDivide;
      else if (isWord("mod")) op = Op::Modulo;
      else return l;
      next();
      l = binary(op, std::move(l), unary(), where);
    }
  }

  ExprPtr unary() {
    Position where = at().where;
    if (acceptSymbol("-")) {
      auto e = std::make_unique<Expr>(Expr::Kind::Unary, where);
      e->op = Op::Negate;
      Nest nest(this);
      e->left = unary();
      return measured(std::move(e));
    }
    if (acceptSymbol("+")) {
      Nest nest(this);
      return unary();
    }
    if (acceptWord("not")) {
      auto e = std::make_unique<Expr>(Expr::Kind::Unary, where);
      e->op = Op::Not;
      Nest nest(this);
      e->left = unary();
      return measured(std::move(e));
    }
    return power();
  }

  ExprPtr power() {
    ExprPtr l = isA();
    for (;;) {
      Position where = at().where;
      if (!acceptSymbol("^")) return l;
      ExprPtr r;
      if (isSymbol("-")) {
        Position minus = next().where;
        r = std::make_unique<Expr>(Expr::Kind::Unary, minus);
        r->op = Op::Negate;
        r->left = isA();
      } else {
        r = isA();
      }
      l = binary(Op::Power, std::move(l), std::move(r), where);
    }
  }

  ExprPtr isA() {
    ExprPtr l = postfix();
    while (isWord("isa")) {
      Position where = next().where;
      auto e = std::make_unique<Expr>(Expr::Kind::IsA, where);
      e->left = std::move(l);
      e->text = typeName().name;
      l = measured(std::move(e));
    }
    return l;
  }

  std::vector<ExprPtr> arguments() {  // after "(": arguments up to ")"
    std::vector<ExprPtr> args;
    if (acceptSymbol(")")) return args;
    do {
      args.push_back(expression());
    } while (acceptSymbol(","));
    expectSymbol(")");
    return args;
  }

  // Whether the next token carries an expression on (a binary operator other than =,
  // or a comma), after what looked like a complete call.
  bool continuesExpression() const {
    static const char* kSymbols[] = {"+", "-", "*", "/", "\\", "^", "<", ">", "<>", "<=", ">=", ","};
    for (const char* symbol : kSymbols)
      if (isSymbol(symbol)) return true;
    return isWord("and") || isWord("or") || isWord("xor") || isWord("mod") || isWord("is") || isWord("isa");
  }

  ExprPtr postfix() {
    ExprPtr e = primary();
    size_t lastOpen = 0;
    struct Remember {
      Parser* p;
      size_t& open;
      ~Remember() {
        if (open) p->lastCallOpen_ = open;
      }
    } remember{this, lastOpen};
    for (;;) {
      if (isSymbol(".")) {
        next();
        const Token& t = at();
        if (t.kind != Token::Kind::Identifier) expected("a member name after \".\"");
        next();
        if (e->kind == Expr::Kind::Name && modules_.count(lowered(e->text))) {
          e->text = t.text;
          e->where = t.where;
          continue;
        }
        auto m = std::make_unique<Expr>(Expr::Kind::Member, t.where);
        m->text = t.text;
        m->left = std::move(e);
        e = measured(std::move(m));
        continue;
      }
      if (isSymbol("(")) {
        lastOpen = pos_;
        next();
        auto c = std::make_unique<Expr>(Expr::Kind::Call, e->where);
        c->parentheses = true;
        c->left = std::move(e);
        c->args = arguments();
        e = measured(std::move(c));
        continue;
      }
      return e;
    }
  }

  ExprPtr primary() {
    const Token& t = at();
    Position where = t.where;
    switch (t.kind) {
      case Token::Kind::Integer: {
        next();
        auto e = std::make_unique<Expr>(Expr::Kind::Integer, where);
        e->integer = t.integer;
        return e;
      }
      case Token::Kind::Double: {
        next();
        auto e = std::make_unique<Expr>(Expr::Kind::Double, where);
        e->real = t.real;
        return e;
      }
      case Token::Kind::String: {
        next();
        auto e = std::make_unique<Expr>(Expr::Kind::String, where);
        e->text = t.text;
        return e;
      }
      case Token::Kind::Color: {
        next();
        auto e = std::make_unique<Expr>(Expr::Kind::Color, where);
        e->integer = t.integer;
        return e;
      }
      case Token::Kind::Symbol:
        if (t.text == "(") {
          next();
          ExprPtr inner = expression();
          expectSymbol(")");
          return inner;
        }
        expected("an expression");
      case Token::Kind::Identifier: {
        if (t.lower == "true" || t.lower == "false") {
          next();
          auto e = std::make_unique<Expr>(Expr::Kind::Boolean, where);
          e->integer = t.lower == "true";
          return e;
        }
        if (t.lower == "nil") {
          next();
          return std::make_unique<Expr>(Expr::Kind::Nil, where);
        }
        if (t.lower == "if" && isSymbol("(", 1)) {  // If(condition, a, b)
          next();
          next();
          auto e = std::make_unique<Expr>(Expr::Kind::IfExpression, where);
          e->args = arguments();
          if (e->args.size() != 3) fail(where, "If(...) takes a condition and two values");
          return e;
        }
        if (t.lower == "new") {
          next();
          auto e = std::make_unique<Expr>(Expr::Kind::New, where);
          TypeName type = typeName();  // "New T()" reads as the type name with an empty argument list
          e->text = type.name;
          if (acceptSymbol("(")) e->args = arguments();
          return e;
        }
        if (kReserved.count(t.lower)) expected("an expression");
        next();
        auto e = std::make_unique<Expr>(Expr::Kind::Name, where);
        e->text = t.text;
        return e;
      }
      default:
        expected("an expression");
    }
  }

  std::vector<Token> t_;
  std::set<std::string> modules_;  // the program's module names, lower case
  size_t pos_ = 0;
  int nesting_ = 0;
  size_t lastCallOpen_ = 0;  // token index of the "(" of the last call postfix() read
};

}  // namespace

Program parseProgram(const std::string& source, const std::string& file, const std::vector<TargetConstant>& targets) {
  Parser parser(compileConditions(tokenize(source), targets));
  Program program = parser.program();
  program.file = file;
  return program;
}

}  // namespace qvrlang
