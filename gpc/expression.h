// Expressions, straight into code, without a tree. Entry points: compileExpression() and its narrower kin.
// What is known at compile time, or can still be assigned to, is not loaded before somebody needs its value:
// an Operand says where it is meanwhile.
#pragma once

#include "gpc/compiler_state.h"

#include <string_view>

namespace Vantor::gpc {

/// Where the value of what has been compiled so far is.
struct Operand {
    enum class Kind : std::uint8_t {
        None,     ///< a void call
        Constant, ///< `bits`; no code yet
        Address,  ///< of `operand`'s variable, a pointer; no code yet
        Stack,    ///< on top of the stack
        Variable, ///< in `operand`'s variable, which can be assigned to; no code yet
        Through,  ///< its address is on top of the stack; can be assigned to
    };
    Kind kind = Kind::None;
    Type type = kVoidType;
    std::uint32_t bits = 0;
    std::uint16_t operand = 0;
    std::uint32_t count = 0; ///< elements of the array that Variable names as a whole; 0: it is no array
    bool readOnly = false;
    bool boolean = false; ///< on the stack and known to be 0 or 1

    bool isConstant() const { return kind == Kind::Constant; }
    /// No code has been emitted for it.
    bool isPending() const { return kind == Kind::Constant || kind == Kind::Address; }
    bool isAssignable() const { return (kind == Kind::Variable && count == 0) || kind == Kind::Through; }

    static Operand constant(std::uint32_t bits, Type type) {
        Operand result;
        result.kind = Kind::Constant;
        result.type = type;
        result.bits = bits;
        return result;
    }
    static Operand onStack(Type type, bool isBoolean = false) {
        Operand result;
        result.kind = Kind::Stack;
        result.type = type;
        result.boolean = isBoolean;
        return result;
    }
};

/// Whether somebody needs the value: a statement such as `i++;` does not.
enum class Use : std::uint8_t { Value, Discard };

/// Compiles the expression at the current token and stops before the first token that cannot continue it.
bool compileExpression(CompilerState& state, Operand& result, Use use = Use::Value);
/// As above, with the value on the stack afterwards; a void call is an error.
bool compileValue(CompilerState& state, Operand& result);
/// As above, for a value that must be a Constant or an Address; emits nothing. `message` stands for every
/// way in which it is none; recorded at its first token.
bool compileConstant(CompilerState& state, Operand& result, std::string_view message);

/// `i = 1`, `f(x)`, `++i`: an expression for its effect alone; leaves the ';' to the caller.
bool compileEffect(CompilerState& state);

/// A variable as an operand.
Operand variableReference(const CompilerState& state, std::uint32_t variable);
/// Decays arrays to addresses and reads constants; emits nothing.
void settleVariable(CompilerState& state, Operand& operand);
inline void settle(CompilerState& state, Operand& operand) {
    if (operand.kind == Operand::Kind::Variable)
        settleVariable(state, operand);
}
/// Puts the value on the stack.
void load(CompilerState& state, Operand& operand);
/// load(), refusing what has no value.
bool loadValue(CompilerState& state, Operand& operand, std::uint32_t token);
/// Takes a value back off the stack that nobody wants.
void discard(CompilerState& state, const Operand& operand);
/// Stores the top of the stack.
void storeVariable(CompilerState& state, std::uint16_t operand, Type type);
/// Narrows the top of the stack, or a constant, to what a variable of the type would hold.
void truncateTo(CompilerState& state, Operand& operand, Type type);

/// Whether a value may be stored as, or passed for, the type without a cast.
bool assignable(const Operand& value, Type type);
/// The value that a variable of the type would hold after storing these bits.
std::uint32_t truncateBits(std::uint32_t bits, Type type);

// The rooms of the expression compiler; used by one another only.

bool compileUnary(CompilerState& state, Operand& result, Use use);
bool compileAssignment(CompilerState& state, Operand& target, Use use);
/// ++ or --, before or behind the target; `token` is the operator.
struct Step {
    bool increment;
    bool prefix;
};
bool compileIncrement(CompilerState& state, Operand& target, std::uint32_t token, Step step, Use use);
bool compileUserCall(CompilerState& state, std::uint32_t functionIndex, Operand& result);
bool compileBuiltinCall(CompilerState& state, const Builtin& builtin, Operand& result);
bool compileComboControl(CompilerState& state, Operand& result);
/// Binary operator `op` (at `token`) on operands of which `left` was pushed at `mark` (or is pending and was
/// pushed there provisionally); folds, checks the types, emits.
bool combine(CompilerState& state, Operand& left, Operand& right, std::uint32_t token, TokenKind op,
             std::uint32_t mark);
/// The operator of a compound assignment, or Invalid.
TokenKind compoundOperator(TokenKind kind);

} // namespace Vantor::gpc
