// The state of one compilation, and what every pass does with it: read tokens, record the first error,
// allocate storage. The only header that all passes share; expression.h, statements.h and declarations.h name
// the passes. Lives on the stack of compile(); one thread.
#pragma once

#include "gpc/data_image.h"
#include "gpc/emitter.h"
#include "gpc/symbols.h"
#include "gpc/token_stream.h"
#include "gpc/words.h"

#include <algorithm>
#include <bitset>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Vantor::gpc {

/// Deeper sources than this are machine-made; the limits keep the compiler's own stack small.
inline constexpr std::uint32_t kMaxExpressionDepth = 400; // a parenthesis takes two
inline constexpr std::uint32_t kMaxStatementDepth = 200;

enum class BodyKind : std::uint8_t { None, Init, Main, Combo, Function };

/// What stands at the top level, found by the scan. Token indices.
struct TopLevelItem {
    enum class Kind : std::uint8_t { Declaration, Function, Init, Main, Combo, Stray };
    Kind kind = Kind::Stray;
    std::uint32_t begin = 0;
    std::uint32_t name = 0;         ///< of a function or combo
    std::uint32_t body = 0;         ///< the '{', or what stands in its place
    std::uint32_t end = 0;          ///< behind the item
    std::uint32_t index = kNoIndex; ///< into functions or combos
    bool prototype = false;         ///< a function that is declared here, not defined
};

/// A switch as the scan saw it.
struct SwitchRecord {
    std::uint32_t token = 0;
    std::bitset<256> values;
    std::uint32_t lowest = 0;
    std::uint32_t entries = 0; ///< of its jump table; 0: its cases are tested one by one
    std::uint32_t table = 0;   ///< offset in the file
};

/// What `break` leaves and `continue` continues.
struct Breakable {
    bool loop = false;
    std::uint32_t continueTarget = kNoIndex; ///< known address, else `continues` collects
    FixupList breaks;
    FixupList continues;
};

/// The switch whose body is being compiled.
struct OpenSwitch {
    std::uint32_t record = 0;
    std::bitset<256> seen;
    std::vector<std::pair<std::uint32_t, std::uint32_t>> targets; ///< value, address
    std::uint32_t defaultTarget = kNoIndex;
};

struct Label {
    NameId name = 0;
    std::uint32_t token = 0; ///< where it is first used or defined
    std::uint32_t address = kNoIndex;
    FixupList uses;
};

/// Initial bytes of a storage variable, waiting for their place in the image.
struct InitialValue {
    std::uint32_t variable = 0;
    std::vector<std::uint8_t> bytes;
};

/// Initial values in the image, and the storage that they are copied to before anything else runs.
struct StorageCopy {
    std::uint32_t imageAddress = 0;
    std::uint16_t operand = 0;
    std::uint32_t size = 0;
};

struct CompileError {
    std::uint32_t token = 0;
    std::string message;
};

struct CompilerState {
    explicit CompilerState(TokenStream& stream) : tokens(stream), symbols(stream.nameCount()) {}

    TokenStream& tokens;
    std::uint32_t at = 0; ///< the token that is read next

    SymbolTable symbols;
    std::vector<Variable> variables;
    std::vector<Function> functions;
    std::vector<Combo> combos;
    std::vector<TopLevelItem> items;
    std::vector<LocalDeclaration> locals; ///< ascending by token
    std::vector<SwitchRecord> switches;   ///< ascending by token
    std::vector<InitialValue> initialValues;
    std::vector<StorageCopy> startCopies;
    std::vector<std::uint32_t> staticLocals; ///< variables, waiting for their storage
    std::uint32_t storageUsed = 0;           ///< the storage counter, bytes

    DataImage image;
    bool imageOpen = true; ///< until its bytes have been written; afterwards its addresses are final
    Emitter code;

    std::optional<CompileError> error;
    std::uint32_t quiet = 0;        ///< above 0: errors fail without being recorded
    std::uint32_t constantOnly = 0; ///< above 0: calls fail, because what they emit cannot be taken back
    std::uint32_t expressionDepth = 0;
    std::uint32_t statementDepth = 0;

    // The body that is being compiled.
    BodyKind body = BodyKind::None;
    Function* function = nullptr;
    Combo* combo = nullptr;
    std::vector<Breakable> breakables;
    std::vector<OpenSwitch> openSwitches;
    std::vector<Label> labels;
    std::unordered_map<NameId, std::uint32_t> labelOfName;

    NameId name() const { return tokens.name(at); }
    TokenKind kind() const { return tokens.kind(at); }
    TokenKind kindAfter(std::uint32_t count) const {
        return at + count < tokens.size() ? tokens.kind(at + count) : TokenKind::EndOfInput;
    }
    bool is(TokenKind wanted) const { return kind() == wanted; }
    bool isName(std::uint32_t index) const { return tokens.kind(index) == TokenKind::Identifier; }
    bool isWord(Word word) const { return isWordAt(at, word); }
    bool isWordAt(std::uint32_t index, Word word) const {
        return isName(index) && tokens.name(index) == nameOf(word);
    }
    /// A name that a declaration may introduce: no word, or one that means something at the top level only.
    bool isUserNameAt(std::uint32_t index) const {
        return isName(index) &&
               (tokens.name(index) >= kFirstBuiltinName || tokens.name(index) == nameOf(Word::Data));
    }
    std::optional<Type> typeAt(std::uint32_t index) const {
        return isName(index) ? typeOfName(tokens.name(index)) : std::nullopt;
    }
    /// Never moves behind EndOfInput.
    void advance() {
        if (at + 1 < tokens.size())
            ++at;
    }
    bool accept(TokenKind wanted) {
        if (!is(wanted))
            return false;
        advance();
        return true;
    }
    /// The record whose `key` is that token, among records that ascend by it; nullptr when there is none.
    template<class Record>
    static Record* recordAt(std::vector<Record>& records, std::uint32_t Record::*key, std::uint32_t token) {
        const auto found =
            std::lower_bound(records.begin(), records.end(), token,
                             [&](const Record& r, std::uint32_t wanted) { return r.*key < wanted; });
        return found != records.end() && (*found).*key == token ? &*found : nullptr;
    }
    bool expect(TokenKind wanted, std::string_view message) { return accept(wanted) || fail(at, message); }

    /// Records the first error, at a token, with the detail behind the message; always false.
    bool fail(std::uint32_t tokenIndex, std::string_view message, std::string_view detail = {});

    /// Hands `good` through; a step that fails without saying why is our own fault, and is recorded as that.
    bool named(bool good, std::string_view step);

    /// Takes storage off the top; false with the stage's message when there is not enough.
    bool allocateStorage(std::uint32_t variable, std::uint32_t tokenIndex, std::string_view message);
    /// Takes the function's frame; false when its offset no longer fits an operand.
    bool allocateFrame(Function& owner, std::uint32_t variable, std::uint32_t tokenIndex);
    std::uint32_t addVariable(const Variable& variable);
};

/// Counts a level of nesting while it lives.
class DepthGuard {
public:
    explicit DepthGuard(std::uint32_t& counter) : depth(counter) { ++depth; }
    ~DepthGuard() { --depth; }
    DepthGuard(const DepthGuard&) = delete;
    DepthGuard& operator=(const DepthGuard&) = delete;

private:
    std::uint32_t& depth;
};

} // namespace Vantor::gpc
