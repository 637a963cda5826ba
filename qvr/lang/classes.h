// Classes a program defines. Each becomes a class of the host (so New, IsA, casts,
// Variants, Raise and Catch treat it as any other class); its instances keep their
// property values, one list per program class in their ancestry, behind the instance
// data the host gives that class. Inside the methods, the names of the class's own
// members are rewritten once, before the checker reads the program, into Self.Name (or
// ClassName.Name for constants and Shared methods), so the rest of the language needs
// to know only member access.
#pragma once

#include "ast.h"
#include "values.h"

#include <host/runtime.h>

#include <string>
#include <vector>

namespace qvrlang {

// Defines the program's classes in the host (superclasses first; a program may name a
// class before it defines it) and rewrites their methods' member names. Throws
// ProgramError for a class that cannot be defined (a name the host already uses, a
// superclass that does not exist, inheritance in a circle).
void defineClasses(host::Runtime& rt, Program& program);

// The program class that cls is or descends from, nearest first; null when none.
const ClassDefinition* programClassOf(const Program& program, const host::ClassInfo* cls);

// A member found along the program classes from a class up.
struct ClassMember {
  enum class Kind { None, Property, Method, Constant };
  Kind kind = Kind::None;
  const ClassDefinition* owner = nullptr;
  size_t index = 0;  // Property: its place in owner->properties; Constant: in owner->constants
};
ClassMember findMember(const ClassDefinition* from, const std::string& name);

// The methods of that name from a class up, nearest first (overrides before what they
// override), for choosing by the arguments.
std::vector<const Function*> methodsOf(const ClassDefinition* from, const std::string& name);

// The property values an object keeps for the program class def, or null when the
// object is not an instance of def (or of a subclass).
std::vector<Value>* propertiesOf(const Value& object, const ClassDefinition& def);

}  // namespace qvrlang
