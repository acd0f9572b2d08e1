// StraightInts: expressions of a page (conditions, tag parameters) are most
// often a few integer operations on variables and constants. Such code runs
// here without the machine's frame and dispatch, with the machine's integer
// rules; whenever a value is not an integer, or an operation could fail, the
// caller runs the code on the machine instead, which then gives the result,
// or the error, that it always would.
#pragma once

namespace quince {

class Engine;
struct Procedure;
struct Value;

// Whether `code` is straight-line integer code of the kinds handled below:
// worked out once, when the expression is compiled.
bool IsStraightIntCode(const Procedure& code);

// Runs such code into `result`; false, with nothing changed, when the machine
// must run it.
bool RunStraightInts(Engine& engine, Procedure& code, Value& result);

// The same for a procedure without parameters or locals whose body is one
// assignment of such an expression to a variable (a loop's iterator).
bool IsStraightIntAssignment(const Procedure& code);
// Runs it; false, with nothing changed, when the machine must run it.
bool RunStraightIntAssignment(Engine& engine, Procedure& code);

}  // namespace quince
