// Declarations inside bodies. The scan has allocated them; here their names come into scope, their values are
// set, and what the scan could not read is called by its name.

#include "gpc/declarations.h"
#include "gpc/expression.h"
#include "gpc/initializers.h"

#include <algorithm>

namespace Vantor::gpc {

namespace {

/// How the faults of one storage class are called.
struct LocalMessages {
    std::string_view type;
    std::string_view name;
    std::string_view duplicate;
    std::string_view length;
    std::string_view bracket;
    std::string_view declaration; ///< not where, or not what, the scan saw
    std::string_view arrayLength; ///< another length than the scan's
    std::string_view arrayValues; ///< other values than the scan's
    std::string_view inferred;    ///< no values for []
    std::string_view mismatch;    ///< another class of type
    std::string_view semicolon;
};

constexpr LocalMessages kConstLocal{
    "expected a type after 'const'",
    "expected a const-local variable name",
    "duplicate local variable",
    "const-local array length does not match its source scan",
    "expected ']' after const-local array",
    "const-local array declaration does not match its source scan",
    "const-local array length does not match its source scan",
    "const-local array declaration does not match its source scan",
    "const-local array declaration does not match its source scan",
    "local initializer type does not match the variable type",
    "expected ';' after const-local declaration",
};

constexpr LocalMessages kStaticLocal{
    "expected a type after 'static'",
    "expected a static local variable name",
    "duplicate function parameter or local variable",
    "static local array length does not match its source scan",
    "expected ']' after array length",
    "static local declaration does not match its source scan",
    "static local array length does not match its source scan",
    "static local declaration does not match its source scan",
    "static local array length does not match its source scan",
    "local initializer type does not match the variable type",
    "expected ';' after static local declaration",
};

constexpr LocalMessages kFunctionLocal{
    {}, // a declaration without a qualifier begins with its type
    "expected a local variable name",
    "duplicate function parameter or local variable",
    "expected a positive integer array length",
    "expected ']' after array length",
    "function locals exceed the scanned frame size",
    "local array length uses a constant that is declared later",
    "local array initializer does not match its source scan",
    "inferred local array does not match its source scan",
    "local initializer type does not match the variable type",
    "expected ';' after local declaration",
};

constexpr LocalMessages kMainLocal{
    {}, // a declaration without a qualifier begins with its type
    "expected a main-local variable name",
    "duplicate main-local variable",
    "main-local array length does not match its source scan",
    "expected ']' after array length",
    "main-local declaration does not match its source scan",
    "main-local array length does not match its source scan",
    "main-local array initializer does not match its source scan",
    "main-local array length does not match its source scan",
    "main-local initializer type does not match the variable type",
    "expected ';' after main-local declaration",
};

constexpr LocalMessages kComboLocal{
    {}, // a declaration without a qualifier begins with its type
    "expected a combo-local variable name",
    "duplicate combo-local variable",
    "combo-local array length does not match its source scan",
    "expected ']' after array length",
    "combo-local declaration does not match its source scan",
    "combo-local array length does not match its source scan",
    "combo-local array initializer does not match its source scan",
    "combo-local array length does not match its source scan",
    "combo-local initializer type does not match the variable type",
    "expected ';' after combo-local declaration",
};

constexpr InitializerMessages kLocalValues{
    "local initializer must be a constant expression",
    "local array initializer must contain constant expressions",
    "integer local initializer cannot contain a fraction",
    "local initializer is outside the variable's range",
    "local initializer type does not match the variable type",
    "expected '{' to start array initializer",
    "expected closing delimiter after array initializer",
    "unterminated array initializer",
    {}, // as its storage class calls it
};

const LocalMessages& messagesFor(StorageClass storage) {
    switch (storage) {
    case StorageClass::ConstData:
        return kConstLocal;
    case StorageClass::StaticLocal:
        return kStaticLocal;
    case StorageClass::FunctionLocal:
        return kFunctionLocal;
    case StorageClass::ComboLocal:
        return kComboLocal;
    default:
        return kMainLocal;
    }
}

StorageClass plainStorage(BodyKind body) {
    switch (body) {
    case BodyKind::Function:
        return StorageClass::FunctionLocal;
    case BodyKind::Combo:
        return StorageClass::ComboLocal;
    default:
        return StorageClass::MainLocal;
    }
}

/// The brackets again, now with their faults reported.
bool checkBrackets(CompilerState& state, const Variable& scanned, const LocalMessages& messages,
                   bool& inferred) {
    inferred = false;
    if (!state.accept(TokenKind::LBracket))
        return true;
    inferred = state.is(TokenKind::RBracket);
    const std::uint32_t token = state.at;
    std::uint32_t length = 0;
    if (!inferred && !readArrayLength(state, messages.length, length))
        return false;
    if (!inferred && length != scanned.count)
        return state.fail(token, messages.arrayLength);
    return state.expect(TokenKind::RBracket, messages.bracket);
}

/// Where the image holds a local's initial values; kNoIndex when it needs none, being all zero.
std::uint32_t initialValuesAddress(const CompilerState& state, const LocalDeclaration& local) {
    const Variable& variable = state.variables[local.variable];
    if (variable.readOnly())
        return variable.address;
    if (variable.storage != StorageClass::StaticLocal)
        return local.imageAddress;
    const std::uint16_t operand = variableOperand(variable);
    const auto copy =
        std::find_if(state.startCopies.begin(), state.startCopies.end(), [&](const StorageCopy& c) {
            return c.operand <= operand && operand < c.operand + c.size;
        });
    return copy == state.startCopies.end() ? kNoIndex : copy->imageAddress + (operand - copy->operand);
}

/// The scan read pointers before static locals had their places: the true values go where it put its own.
bool replacePointers(CompilerState& state, const LocalDeclaration& local,
                     const std::vector<std::uint32_t>& values) {
    const std::uint32_t address = initialValuesAddress(state, local);
    if (!state.variables[local.variable].type.pointer || !local.complete || address == kNoIndex)
        return false;
    for (std::uint32_t i = 0; i < values.size(); ++i) {
        state.code.patchU16(address + i * kPointerWidth, values[i]);
        state.image.patchU16(address + i * kPointerWidth, values[i]);
    }
    return true;
}

/// The values at the current token once more, with their faults reported. The scan has placed them; where it
/// read something else (a constant that is declared behind its use, or hidden for a while), the pass stops.
bool checkArrayValues(CompilerState& state, const LocalDeclaration& local, const LocalMessages& messages,
                      bool inferred) {
    const Variable& variable = state.variables[local.variable];
    const std::uint32_t token = state.at;
    InitializerMessages faults = kLocalValues;
    faults.excess = messages.arrayValues;
    std::vector<std::uint32_t> values;
    if (!readArrayInitializer(state, variable.type, inferred ? 0 : variable.count, faults, values))
        return false;
    if (variable.storage == StorageClass::FunctionLocal && !inferred && values.size() < variable.count)
        return state.fail(token, "local array initializer must provide every element");
    const bool sameSize =
        variable.readOnly() ? values.size() <= variable.count : values.size() == variable.count;
    if (!local.complete && sameSize && variable.type.pointer)
        return state.fail(token, "pointer array string initializer was not allocated");
    const bool same =
        local.complete && sameSize &&
        hashOfBytes(encodeValues(values, variable.count, variable.type.width())) == local.valueHash;
    return same || (sameSize && replacePointers(state, local, values)) ||
           state.fail(token, inferred ? messages.inferred : messages.arrayValues);
}

bool compileArrayValues(CompilerState& state, const LocalDeclaration& local, const LocalMessages& messages,
                        bool inferred) {
    const Variable& variable = state.variables[local.variable];
    if (!state.accept(TokenKind::Assign))
        return !inferred || state.fail(local.nameToken, messages.inferred);
    if (!checkArrayValues(state, local, messages, inferred))
        return false;
    state.code.emit(Opcode::CopyBlock, local.imageAddress);
    state.code.emitU16(variableOperand(variable));
    state.code.emitU16(static_cast<std::uint32_t>(variable.byteSize()));
    return true;
}

bool compileScalarValue(CompilerState& state, const Variable& variable, const LocalMessages& messages) {
    if (!state.accept(TokenKind::Assign))
        return true;
    const std::uint32_t token = state.at;
    Operand value;
    if (!compileExpression(state, value))
        return false;
    settle(state, value);
    if (!value.type.isVoid && !assignable(value, variable.type))
        return state.fail(token, messages.mismatch);
    if (!loadValue(state, value, token))
        return false;
    storeVariable(state, variableOperand(variable), variable.type);
    return true;
}

/// A const or static local: nothing happens where it is declared, but its faults are found.
bool checkFixedValue(CompilerState& state, const LocalDeclaration& local, const LocalMessages& messages,
                     bool inferred) {
    const Variable& variable = state.variables[local.variable];
    if (!state.accept(TokenKind::Assign)) {
        if (!variable.readOnly())
            return !inferred || state.fail(local.nameToken, messages.inferred);
        return state.fail(state.at, variable.array
                                        ? std::string_view("const-local arrays require an initializer")
                                        : "const-local scalars require an initializer");
    }
    if (variable.array)
        return checkArrayValues(state, local, messages, inferred);
    const std::uint32_t token = state.at;
    std::vector<std::uint32_t> values(1);
    if (!readScalarInitializer(state, variable.type, kLocalValues, values[0]))
        return false;
    const bool same =
        local.complete && hashOfBytes(encodeValues(values, 1, variable.type.width())) == local.valueHash;
    return same || replacePointers(state, local, values) ||
           state.fail(token, "local initializer uses a constant that is declared later");
}

bool compileDeclarator(CompilerState& state, Type type, const LocalMessages& messages) {
    type.pointer = state.accept(TokenKind::Star);
    if (!state.isUserNameAt(state.at))
        return state.fail(state.at, messages.name);
    const NameId name = state.name();
    if (state.symbols.boundHere(name))
        return state.fail(state.at, messages.duplicate);
    const LocalDeclaration* local =
        CompilerState::recordAt(state.locals, &LocalDeclaration::nameToken, state.at);
    if (!local || state.variables[local->variable].type != type)
        return state.fail(state.at, messages.declaration);
    state.advance();
    const Variable& variable = state.variables[local->variable];
    bool inferred = false;
    if (!checkBrackets(state, variable, messages, inferred))
        return false;
    const bool fixed = variable.readOnly() || variable.storage == StorageClass::StaticLocal;
    const bool good = fixed            ? checkFixedValue(state, *local, messages, inferred)
                      : variable.array ? compileArrayValues(state, *local, messages, inferred)
                                       : compileScalarValue(state, variable, messages);
    // Only now: the initialiser still sees what the name meant before.
    state.symbols.bind(name, local->variable);
    return good;
}

} // namespace

bool atLocalDeclaration(const CompilerState& state) {
    return state.isName(state.at) &&
           (state.typeAt(state.at) || state.isWord(Word::Const) || state.isWord(Word::Static));
}

bool compileLocalDeclaration(CompilerState& state) {
    StorageClass storage = plainStorage(state.body);
    const bool qualified = !state.typeAt(state.at);
    if (qualified) {
        storage = state.isWord(Word::Const) ? StorageClass::ConstData : StorageClass::StaticLocal;
        state.advance();
    }
    const LocalMessages& messages = messagesFor(storage);
    const auto type = state.typeAt(state.at);
    if (!type)
        return state.fail(state.at, messages.type);
    state.advance();
    do {
        if (!compileDeclarator(state, *type, messages))
            return false;
    } while (state.accept(TokenKind::Comma));
    return state.expect(TokenKind::Semicolon, messages.semicolon);
}

} // namespace Vantor::gpc
