// Random programs for the comparison of compiled scripts with C.
//
// A program is a small tree that is printed twice: as a script, and as C that spells out every operation
// through helper functions on 32-bit words, in the order in which a script evaluates. The C side shares
// nothing with the toolchain. Every program ends: loops count, calls go only to functions that stand earlier
// in the table.

#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Vantor::gpc::differential {

enum class Scalar : std::uint8_t { uint8, int8, uint16, int16, uint32, int32, fix32 };

inline constexpr int kScalarCount = 7;

[[nodiscard]] const char* scriptName(Scalar type);
[[nodiscard]] const char* cName(Scalar type);
[[nodiscard]] unsigned widthOf(Scalar type);

/// What an expression yields: narrower integers become `Signed` words when they are read.
enum class Word : std::uint8_t { Signed, Unsigned, Fixed };

[[nodiscard]] Word wordOf(Scalar type);

enum class Kind : std::uint8_t {
    // expressions
    Constant,    // value
    Variable,    // variable
    Element,     // variable; index
    Pointee,     // variable (a pointer); optional index
    Unary,       // op; operand
    Cast,        // scalar; operand
    Binary,      // op; left, right
    Logical,     // op (&& || ^^); left, right
    Conditional, // condition, then, else
    Call,        // function; one argument per parameter
    Math,        // op (the name of a math builtin); its arguments
    Address,     // the argument for a pointer parameter: Variable, or array variable with an index
    Assign,      // op (= += ...); target, value
    Step,        // op (++ --), value 1 for the prefix form; target
    // statements
    Evaluate, // expression
    Point,    // variable (a PointerGlobal); the place that it points to from now on
    If,       // condition, then, optional else
    While,    // variable (counter), value (trips); condition, body
    Do,
    For,
    Switch, // selector, Case...
    Case,   // value (-1 for default); statements
    Break,
    Continue,
    Return, // optional value
    Block,  // statements
};

struct Node {
    Kind kind = Kind::Block;
    Word word = Word::Signed;
    Scalar scalar = Scalar::int32;
    const char* op = "";
    std::int64_t value = 0;
    int variable = -1;
    int function = -1;
    std::vector<Node> kids{};
};

struct Variable {
    enum class Place : std::uint8_t {
        Global,
        ConstGlobal,
        PointerGlobal,
        Local,
        ConstLocal,
        StaticLocal,
        Parameter,
        PointerParameter
    };
    std::string name;
    Scalar type = Scalar::int32;
    Place place = Place::Global;
    int length = 0; ///< 0 for a scalar; otherwise a power of two
    bool counter = false;
    std::vector<std::uint32_t> initial; ///< empty: starts as zero
    int pointee = -1;                   ///< PointerGlobal: the global that it points to first

    [[nodiscard]] bool isPointer() const {
        return place == Place::PointerGlobal || place == Place::PointerParameter;
    }
    [[nodiscard]] bool isConst() const { return place == Place::ConstGlobal || place == Place::ConstLocal; }
};

struct Function {
    std::string name;
    bool returnsValue = true;
    Scalar result = Scalar::int32;
    std::vector<int> parameters;
    std::vector<int> locals;
    Node body;
    std::uint64_t cost = 1; ///< upper bound of the statements that one call executes
};

struct Program {
    std::uint64_t seed = 0;
    std::vector<Variable> variables;
    std::vector<int> globals;        ///< in the order of declaration
    std::vector<Function> functions; ///< the last two are the bodies of `init` and `main`
};

[[nodiscard]] Program generate(std::uint64_t seed);

[[nodiscard]] std::string printScript(const Program& program);

/// Functions named after `prefix`, and PREFIX_run(), which executes init, main and main again, and prints
/// every byte of every global that is not const, in declaration order and big-endian, as one line of
/// hexadecimal digits.
[[nodiscard]] std::string printC(const Program& program, const std::string& prefix);
/// What every C file of this kind starts with.
[[nodiscard]] const char* cPrelude();

/// The variants of `program` with one statement or operand left out, each smaller than the program itself.
[[nodiscard]] std::vector<Program> reductions(const Program& program);

} // namespace Vantor::gpc::differential
