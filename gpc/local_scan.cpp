// One walk over a body before any code is generated: locals get their places and initial values, strings and
// jump tables theirs in the image.

#include "gpc/declarations.h"
#include "gpc/initializers.h"
#include "gpc/scan.h"
#include "gpc/strings.h"

namespace Vantor::gpc {

namespace {

constexpr InitializerMessages kStaticMessages{
    "static local initializer must contain constant expressions",
    "static local initializer must contain constant expressions",
    "static local initializer has an incompatible runtime expression",
    "static local initializer has an incompatible runtime expression",
    "static local initializer has an incompatible runtime expression",
    "expected '{' or '(' to start array initializer",
    "expected closing delimiter after array initializer",
    "unterminated static local initializer",
    "array initializer has more values than the declared length",
};

/// Errors inside are not recorded: the pass that compiles the declaration finds them again.
class Quiet {
public:
    explicit Quiet(CompilerState& owner) : state(owner) { ++state.quiet; }
    ~Quiet() { --state.quiet; }
    Quiet(const Quiet&) = delete;
    Quiet& operator=(const Quiet&) = delete;

private:
    CompilerState& state;
};

class BodyScan {
public:
    BodyScan(CompilerState& owner, const TopLevelItem& topLevelItem) : state(owner), item(topLevelItem) {}

    bool run();

private:
    struct Block {
        std::size_t scope;
        std::uint32_t record; ///< the innermost switch whose body it is in, or kNoIndex
    };

    bool startsDeclaration() const;
    bool scanDeclaration();
    bool scanDeclarator(Type type, StorageClass storage);
    bool scanBrackets(Variable& variable);
    bool scanStatic(LocalDeclaration& local, bool inferred);
    bool scanConst(LocalDeclaration& local, bool inferred);
    void scanArrayValues(LocalDeclaration& local, bool inferred);
    bool allocate(const LocalDeclaration& local);
    void skipInitializer();
    void noteString();
    void noteCase();
    void openBlock();
    void closeBlock();

    CompilerState& state;
    const TopLevelItem& item;
    std::vector<Block> blocks;
    std::uint32_t pendingSwitch = kNoIndex;
};

bool BodyScan::startsDeclaration() const {
    if (!atLocalDeclaration(state))
        return false;
    if (state.tokens.kind(state.at - 1) != TokenKind::LParen)
        return true;
    return state.isWordAt(state.at - 2, Word::For); // otherwise it is a cast
}

void BodyScan::noteString() {
    const bool first = state.tokens.kind(state.at - 1) != TokenKind::StringLiteral;
    if (first)
        placeString(state, state.at);
}

void BodyScan::openBlock() {
    const std::uint32_t around = blocks.empty() ? kNoIndex : blocks.back().record;
    blocks.push_back({state.symbols.openScope(), pendingSwitch != kNoIndex ? pendingSwitch : around});
    pendingSwitch = kNoIndex;
}

void BodyScan::closeBlock() {
    if (blocks.empty())
        return;
    state.symbols.closeScope(blocks.back().scope);
    blocks.pop_back();
}

void BodyScan::noteCase() {
    const std::uint32_t record = blocks.empty() ? kNoIndex : blocks.back().record;
    const std::uint32_t token = state.at;
    state.advance();
    if (record == kNoIndex)
        return;
    const Quiet quiet(state);
    Operand value;
    if (compileConstant(state, value, {}) && value.isConstant() && value.bits < 256)
        state.switches[record].values.set(value.bits);
    state.at = token + 1; // strings and the like inside are the walk's business
}

/// Moves to the ',' or ';' behind an initialiser, placing its strings.
void BodyScan::skipInitializer() {
    std::int32_t depth = 0;
    for (; !state.is(TokenKind::EndOfInput); state.advance()) {
        const TokenKind kind = state.kind();
        if (kind == TokenKind::LParen || kind == TokenKind::LBracket || kind == TokenKind::LBrace) {
            ++depth;
        } else if (kind == TokenKind::RParen || kind == TokenKind::RBracket || kind == TokenKind::RBrace) {
            if (--depth < 0)
                return;
        } else if (kind == TokenKind::Semicolon || (kind == TokenKind::Comma && depth == 0)) {
            return;
        } else if (kind == TokenKind::StringLiteral) {
            noteString();
        }
    }
}

bool BodyScan::scanBrackets(Variable& variable) {
    if (!state.accept(TokenKind::LBracket))
        return false;
    variable.array = true;
    variable.count = 0;
    const bool inferred = state.is(TokenKind::RBracket);
    if (!inferred) {
        const Quiet quiet(state);
        readArrayLength(state, {}, variable.count);
    }
    while (!state.is(TokenKind::RBracket) && !state.is(TokenKind::Semicolon) &&
           !state.is(TokenKind::EndOfInput))
        state.advance();
    state.accept(TokenKind::RBracket);
    return inferred;
}

bool BodyScan::scanStatic(LocalDeclaration& local, bool inferred) {
    Variable& variable = state.variables[local.variable];
    state.staticLocals.push_back(local.variable);
    if (!state.accept(TokenKind::Assign)) {
        local.complete = !inferred;
        return true;
    }
    std::vector<std::uint32_t> values(1);
    if (!variable.array) {
        if (!readScalarInitializer(state, variable.type, kStaticMessages, values[0]))
            return false;
    } else {
        values.clear();
        const std::uint32_t token = state.at;
        if (!readArrayInitializer(state, variable.type, variable.count, kStaticMessages, values))
            return false;
        if (inferred)
            variable.count = static_cast<std::uint32_t>(values.size());
        if (values.empty() || values.size() != variable.count)
            return state.fail(token, "static local array initializer must provide every element");
    }
    auto bytes = encodeValues(values, variable.count, variable.type.width());
    local.valueHash = hashOfBytes(bytes);
    local.complete = true;
    state.initialValues.push_back({local.variable, std::move(bytes)});
    return true;
}

bool BodyScan::scanConst(LocalDeclaration& local, bool inferred) {
    const Quiet quiet(state);
    Variable& variable = state.variables[local.variable];
    if (!state.accept(TokenKind::Assign))
        return false;
    std::vector<std::uint32_t> values(1);
    if (!variable.array) {
        if (!readScalarInitializer(state, variable.type, kStaticMessages, values[0]))
            return false;
    } else {
        values.clear();
        if (!readArrayInitializer(state, variable.type, variable.count, kStaticMessages, values))
            return false;
        if (inferred)
            variable.count = static_cast<std::uint32_t>(values.size());
        if (variable.count == 0 || variable.byteSize() > kMaxImageEnd)
            return false;
    }
    const auto bytes = encodeValues(values, variable.count, variable.type.width());
    variable.address = static_cast<std::uint16_t>(state.image.append(bytes));
    local.valueHash = hashOfBytes(bytes);
    local.complete = true;
    return true;
}

/// Values of an array in main, a combo or a function: kept in the image and copied where it is declared.
void BodyScan::scanArrayValues(LocalDeclaration& local, bool inferred) {
    const Quiet quiet(state);
    Variable& variable = state.variables[local.variable];
    std::vector<std::uint32_t> values;
    if (!readArrayInitializer(state, variable.type, variable.count, kStaticMessages, values))
        return;
    if (inferred)
        variable.count = static_cast<std::uint32_t>(values.size());
    if (values.empty() || values.size() != variable.count)
        return;
    const auto bytes = encodeValues(values, variable.count, variable.type.width());
    local.imageAddress = state.image.append(bytes);
    local.valueHash = hashOfBytes(bytes);
    local.complete = true;
}

bool BodyScan::allocate(const LocalDeclaration& local) {
    switch (state.variables[local.variable].storage) {
    case StorageClass::MainLocal:
        return state.allocateStorage(local.variable, local.nameToken,
                                     "GPC2 global and main-local storage exceeds 65532 bytes");
    case StorageClass::ComboLocal:
        return state.allocateStorage(local.variable, local.nameToken,
                                     "GPC2 persistent storage exceeds 65532 bytes");
    case StorageClass::FunctionLocal:
        return item.index == kNoIndex ||
               state.allocateFrame(state.functions[item.index], local.variable, local.nameToken);
    default:
        return true;
    }
}

bool BodyScan::scanDeclarator(Type type, StorageClass storage) {
    Variable variable;
    variable.type = type;
    variable.storage = storage;
    variable.type.pointer = state.accept(TokenKind::Star);
    if (!state.isUserNameAt(state.at))
        return true;
    LocalDeclaration local;
    local.nameToken = state.at;
    variable.name = state.name();
    const bool isStatic = storage == StorageClass::StaticLocal;
    if (isStatic && state.symbols.boundHere(variable.name) &&
        state.variables[state.symbols.variable(variable.name)].storage == StorageClass::StaticLocal)
        return state.fail(state.at, "duplicate static local variable");
    state.advance();
    const bool inferred = scanBrackets(variable);
    const bool array = variable.array;
    local.variable = state.addVariable(variable);
    if (isStatic) {
        if (!scanStatic(local, inferred))
            return false;
    } else if (storage == StorageClass::ConstData) {
        scanConst(local, inferred);
    } else if (array && state.accept(TokenKind::Assign)) {
        scanArrayValues(local, inferred);
    }
    if (!allocate(local))
        return false;
    skipInitializer();
    local.endToken = state.at;
    state.symbols.bind(variable.name, local.variable);
    state.locals.push_back(local);
    return true;
}

bool BodyScan::scanDeclaration() {
    StorageClass storage = StorageClass::MainLocal;
    if (item.kind == TopLevelItem::Kind::Function)
        storage = StorageClass::FunctionLocal;
    else if (item.kind == TopLevelItem::Kind::Combo)
        storage = StorageClass::ComboLocal;
    if (state.isWord(Word::Const) || state.isWord(Word::Static)) {
        storage = state.isWord(Word::Const) ? StorageClass::ConstData : StorageClass::StaticLocal;
        state.advance();
    }
    const auto type = state.typeAt(state.at);
    if (!type)
        return true;
    state.advance();
    do {
        if (!scanDeclarator(*type, storage))
            return false;
    } while (state.accept(TokenKind::Comma));
    return true;
}

bool BodyScan::run() {
    const std::size_t scope = state.symbols.openScope();
    if (item.kind == TopLevelItem::Kind::Function && item.index != kNoIndex)
        for (const std::uint32_t parameter : state.functions[item.index].parameters)
            if (state.variables[parameter].name != 0)
                state.symbols.bind(state.variables[parameter].name, parameter);
    bool good = true;
    for (state.at = item.body + 1; good && state.at < item.end && !state.is(TokenKind::EndOfInput);) {
        if (startsDeclaration()) {
            good = scanDeclaration();
            continue;
        }
        if (state.isWord(Word::Case)) {
            noteCase();
            continue;
        }
        if (state.isWord(Word::Switch)) {
            pendingSwitch = static_cast<std::uint32_t>(state.switches.size());
            state.switches.push_back({state.at, {}, 0, 0, 0});
        } else if (state.is(TokenKind::LBrace)) {
            openBlock();
        } else if (state.is(TokenKind::RBrace)) {
            closeBlock();
        } else if (state.is(TokenKind::StringLiteral)) {
            noteString();
        }
        state.advance();
    }
    while (!blocks.empty())
        closeBlock();
    state.symbols.closeScope(scope);
    return good;
}

/// A jump table is worth its bytes when at least half of its entries are cases.
void reserveJumpTable(CompilerState& state, SwitchRecord& record) {
    const std::size_t count = record.values.count();
    if (count == 0)
        return;
    std::uint32_t lowest = 0;
    while (!record.values.test(lowest))
        ++lowest;
    std::uint32_t highest = 255;
    while (!record.values.test(highest))
        --highest;
    const std::uint32_t span = highest - lowest + 1;
    record.lowest = lowest;
    if (span > 2 * count)
        return;
    record.entries = span;
    record.table = state.image.reserve(2 * span);
}

} // namespace

bool scanBody(CompilerState& state, const TopLevelItem& item) {
    if (state.tokens.kind(item.body) != TokenKind::LBrace)
        return true;
    return BodyScan(state, item).run();
}

bool allocatePersistent(CompilerState& state) {
    const std::uint32_t end = state.tokens.size() - 1;
    for (const std::uint32_t variable : state.staticLocals)
        if (!state.allocateStorage(variable, end,
                                   "GPC2 global, main-local, and static-local storage exceeds 65532 bytes"))
            return false;
    for (Combo& combo : state.combos) {
        Variable slot;
        slot.name = combo.name;
        slot.type = kInt32Type;
        slot.storage = StorageClass::ComboState;
        combo.state = state.addVariable(slot);
        if (!state.allocateStorage(combo.state, combo.token, "GPC2 persistent storage exceeds 65532 bytes"))
            return false;
        combo.waitTable = state.image.reserve(2 * combo.scannedWaits);
    }
    for (SwitchRecord& record : state.switches)
        reserveJumpTable(state, record);
    return true;
}

} // namespace Vantor::gpc
