// The global declaration pass.

#include "gpc/declarations.h"

#include "gpc/initializers.h"
#include "gpc/scan.h"

#include <algorithm>

namespace Vantor::gpc {

namespace {

using Kind = TopLevelItem::Kind;

constexpr InitializerMessages kGlobalMessages{
    "global initializer must be a constant expression",
    "global array initializer must contain constant expressions",
    "integer global initializer cannot contain a fraction",
    "global initializer is outside the destination type range",
    "global initializer must be a constant expression",
    "expected '{' or '(' to start array initializer",
    "expected closing delimiter after array initializer",
    "expected closing delimiter after array initializer",
    "array initializer has more values than the declared length",
};

constexpr InitializerMessages kPointerArrayMessages{
    "global initializer must be a constant expression",
    "pointer initializer must contain string, address, or integer constants",
    "integer global initializer cannot contain a fraction",
    "global initializer is outside the destination type range",
    "global initializer must be a constant expression",
    "expected '{' or '(' to start pointer array initializer",
    "expected closing delimiter after pointer array initializer",
    "expected closing delimiter after pointer array initializer",
    "array initializer has more values than the declared length",
};

struct Declarator {
    std::uint32_t token = 0; ///< its name
    Variable variable;
    bool initialized = false;
    std::vector<std::uint32_t> values;
};

/// [length] or []; the length 0 means that the values decide.
bool readBrackets(CompilerState& state, Declarator& declarator) {
    if (!state.accept(TokenKind::LBracket))
        return true;
    declarator.variable.array = true;
    declarator.variable.count = 0;
    if (!state.is(TokenKind::RBracket) &&
        !readArrayLength(state, "expected a positive integer array length", declarator.variable.count))
        return false;
    return state.expect(TokenKind::RBracket, "expected ']' after array length");
}

bool readGlobalInitializer(CompilerState& state, Declarator& declarator) {
    declarator.initialized = true;
    Variable& variable = declarator.variable;
    if (!variable.array) {
        declarator.values.resize(1);
        return readScalarInitializer(state, variable.type, kGlobalMessages, declarator.values[0]);
    }
    const InitializerMessages& messages = variable.type.pointer ? kPointerArrayMessages : kGlobalMessages;
    return readArrayInitializer(state, variable.type, variable.count, messages, declarator.values);
}

/// Space in storage or in the image, and the initial bytes.
bool defineGlobal(CompilerState& state, Declarator& declarator) {
    Variable& variable = declarator.variable;
    if (variable.array && variable.count == 0) {
        variable.count = static_cast<std::uint32_t>(declarator.values.size());
        if (variable.count == 0)
            return state.fail(declarator.token, "an inferred array requires initializer values");
    }
    const std::uint32_t index = state.addVariable(variable);
    if (variable.readOnly()) {
        const std::uint32_t size =
            static_cast<std::uint32_t>(std::min<std::uint64_t>(variable.byteSize(), kMaxImageEnd));
        const auto bytes = size < kMaxImageEnd
                               ? encodeValues(declarator.values, variable.count, variable.type.width())
                               : std::vector<std::uint8_t>(size);
        state.variables[index].address = static_cast<std::uint16_t>(state.image.append(bytes));
    } else {
        if (!state.allocateStorage(index, declarator.token, "GPC2 global storage exceeds 65532 bytes"))
            return false;
        if (declarator.initialized)
            state.initialValues.push_back(
                {index, encodeValues(declarator.values, variable.count, variable.type.width())});
    }
    state.symbols.bind(variable.name, index);
    return true;
}

bool declareGlobal(CompilerState& state, Type type, bool isConst, bool table) {
    Declarator declarator;
    Variable& variable = declarator.variable;
    variable.type = type;
    variable.storage = isConst ? StorageClass::ConstData : StorageClass::Global;
    variable.type.pointer = state.accept(TokenKind::Star);
    declarator.token = state.at;
    if (!state.isUserNameAt(state.at))
        return state.fail(state.at, "expected a variable name");
    variable.name = state.name();
    const bool taken = state.symbols.variable(variable.name) != kNoIndex ||
                       state.symbols.function(variable.name) != kNoIndex;
    if (taken)
        return state.fail(state.at, "duplicate global variable");
    state.advance();
    if (!readBrackets(state, declarator))
        return false;
    if (table && !variable.array) {
        variable.array = true;
        variable.count = 0;
    }
    if (state.accept(TokenKind::Assign)) {
        if (!readGlobalInitializer(state, declarator))
            return false;
    } else if (isConst) {
        return state.fail(state.at, "const globals require an initializer");
    }
    return defineGlobal(state, declarator);
}

/// [const | static] type declarator, declarator, ... ;
bool parseGlobalDeclaration(CompilerState& state) {
    const bool isConst = state.isWord(Word::Const);
    const bool qualified = isConst || state.isWord(Word::Static);
    if (qualified)
        state.advance();
    const bool table = state.isWord(Word::Data);
    if (table && !isConst)
        return state.fail(state.at, "Feplifek data table must be const");
    const auto type = table ? Type{TypeCode::UInt8} : state.typeAt(state.at);
    if (!type)
        return state.fail(state.at, "expected a type after global declaration qualifier");
    state.advance();
    do {
        if (!declareGlobal(state, *type, isConst, table))
            return false;
    } while (state.accept(TokenKind::Comma));
    return state.expect(TokenKind::Semicolon, "expected ';' after global declaration");
}

bool declareItem(CompilerState& state, const TopLevelItem& item) {
    state.at = item.begin;
    switch (item.kind) {
    case Kind::Declaration:
        return state.named(parseGlobalDeclaration(state), "global declaration parser");
    case Kind::Stray:
        // A lone ';' is left to the function pass.
        return state.is(TokenKind::Semicolon) ||
               state.fail(item.begin, "expected a top-level declaration or definition");
    case Kind::Function:
        return item.prototype || state.named(scanBody(state, item), "function-local allocation pass");
    default:
        return state.named(scanBody(state, item), "definition-local allocation pass");
    }
}

} // namespace

bool declareGlobals(CompilerState& state) {
    for (const TopLevelItem& item : state.items)
        if (!declareItem(state, item))
            return false;
    if (!state.named(allocatePersistent(state), "persistent local allocation pass"))
        return false;
    if (state.image.full())
        return state.fail(state.tokens.size() - 1,
                          "constants and strings exceed the 32768 bytes of the data image");
    return true;
}

void placeInitialValues(CompilerState& state) {
    // Neighbours go into one copy; the gap that alignment leaves between them is filled with zeros.
    constexpr std::uint32_t kMaxGap = 4;
    std::vector<StorageCopy>& copies = state.startCopies;
    std::vector<std::uint8_t> run;
    const auto finishRun = [&] {
        if (!run.empty()) {
            copies.back().imageAddress = state.image.append(run);
            copies.back().size = static_cast<std::uint32_t>(run.size());
        }
        run.clear();
    };
    std::sort(state.initialValues.begin(), state.initialValues.end(), [&](const auto& a, const auto& b) {
        return state.variables[a.variable].address < state.variables[b.variable].address;
    });
    for (const InitialValue& initial : state.initialValues) {
        if (std::all_of(initial.bytes.begin(), initial.bytes.end(),
                        [](std::uint8_t byte) { return byte == 0; }))
            continue;
        const std::uint16_t operand = variableOperand(state.variables[initial.variable]);
        const std::uint32_t end =
            run.empty() ? 0 : copies.back().operand + static_cast<std::uint32_t>(run.size());
        if (run.empty() || operand < end || operand - end >= kMaxGap) {
            finishRun();
            copies.push_back({0, operand, 0});
        } else {
            run.resize(run.size() + (operand - end));
        }
        run.insert(run.end(), initial.bytes.begin(), initial.bytes.end());
    }
    finishRun();
}

} // namespace Vantor::gpc
