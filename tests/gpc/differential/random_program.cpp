#include "tests/gpc/differential/random_declarations.h"

#include <array>
#include <optional>
#include <utility>

namespace Vantor::gpc::differential {

namespace {

constexpr std::uint64_t kCostLimit = 3000; ///< statements that a whole program may execute
constexpr int kDepthLimit = 4;

/// Draws the program. Everything that it decides comes from one stream of random numbers.
class Generator : RandomDeclarations {
public:
    explicit Generator(std::uint64_t seed) : RandomDeclarations(seed) {}

    Program run() {
        declareGlobals();
        const int functionCount = below(4);
        for (int i = 0; i < functionCount; ++i) {
            makeFunction(i);
        }
        makeBody("init");
        makeBody("main");
        return std::move(program);
    }

private:
    std::uint64_t multiplier = 1;
    int loopDepth = 0;
    bool inSwitch = false;
    bool inFunction = false;

    void makeFunction(int number) {
        Function function;
        function.name = "f" + std::to_string(number);
        function.returnsValue = chance(80);
        function.result = anyScalar();
        current = &function;
        visible = program.globals;
        const int parameterCount = below(5);
        for (int i = 0; i < parameterCount; ++i) {
            Variable v;
            v.name = function.name + "p" + std::to_string(i);
            v.type = anyScalar();
            v.place = chance(25) ? Variable::Place::PointerParameter : Variable::Place::Parameter;
            const int index = addVariable(std::move(v));
            function.parameters.push_back(index);
            visible.push_back(index);
        }
        inFunction = true;
        finishBody(function);
        if (function.returnsValue) {
            function.body.kids.push_back(returnStatement());
        }
        inFunction = false;
        program.functions.push_back(std::move(function));
    }

    void makeBody(const char* name) {
        Function function;
        function.name = name;
        function.returnsValue = false;
        current = &function;
        visible = program.globals;
        finishBody(function);
        program.functions.push_back(std::move(function));
    }

    void finishBody(Function& function) {
        declareLocals(function.name);
        multiplier = 1;
        function.body = block(3 + below(6), 0);
    }

    void charge(std::uint64_t statements) { current->cost += statements * multiplier; }

    // ---- statements

    Node block(int count, int depth) {
        Node node;
        for (int i = 0; i < count; ++i) {
            node.kids.push_back(statement(depth));
        }
        return node;
    }

    Node returnStatement() {
        Node node{.kind = Kind::Return};
        if (current->returnsValue) {
            node.kids.push_back(expression(wordOf(current->result), 2));
        }
        return node;
    }

    Node statement(int depth) {
        charge(1);
        const int choice = below(100);
        if (depth < kDepthLimit) {
            if (choice < 14) {
                return ifStatement(depth);
            }
            if (choice < 24 && !counters.empty() && multiplier < 64) {
                return loop(depth);
            }
            if (choice < 30) {
                return switchStatement(depth);
            }
        }
        if (choice < 34 && loopDepth > 0) {
            return Node{.kind = chance(50) ? Kind::Break : Kind::Continue};
        }
        if (choice < 36 && inFunction && depth > 0) {
            return returnStatement();
        }
        if (choice < 46) {
            if (auto call = callStatement()) {
                return std::move(*call);
            }
        }
        if (choice < 50) {
            if (auto pointing = pointStatement()) {
                return std::move(*pointing);
            }
        }
        Node node{.kind = Kind::Evaluate};
        node.kids.push_back(choice < 60 ? step() : assignment(3));
        return node;
    }

    std::optional<Node> pointStatement() {
        const auto pointer =
            pickVariable([](const Variable& v) { return v.place == Variable::Place::PointerGlobal; });
        if (!pointer) {
            return std::nullopt;
        }
        // What outlives the function that points there.
        const auto pointee = pickVariable([&](const Variable& v) {
            return v.type == variableAt(*pointer).type &&
                   (v.place == Variable::Place::Global || v.place == Variable::Place::StaticLocal);
        });
        if (!pointee) {
            return std::nullopt;
        }
        Node node{.kind = Kind::Point, .variable = *pointer};
        node.kids.push_back(place(*pointee, 1));
        return node;
    }

    Node ifStatement(int depth) {
        Node node{.kind = Kind::If};
        node.kids.push_back(condition(2));
        node.kids.push_back(block(1 + below(3), depth + 1));
        if (chance(50)) {
            node.kids.push_back(block(1 + below(3), depth + 1));
        }
        return node;
    }

    Node loop(int depth) {
        Node node{.kind = pick(std::array{Kind::While, Kind::Do, Kind::For})};
        node.variable = counters.back();
        node.value = 1 + below(5);
        const auto trips = static_cast<std::uint64_t>(node.value);
        counters.pop_back();
        multiplier *= trips;
        charge(2);
        node.kids.push_back(condition(2));
        const bool outerSwitch = std::exchange(inSwitch, false);
        ++loopDepth;
        node.kids.push_back(block(1 + below(4), depth + 1));
        --loopDepth;
        inSwitch = outerSwitch;
        multiplier /= trips;
        counters.push_back(node.variable);
        return node;
    }

    Node switchStatement(int depth) {
        Node node{.kind = Kind::Switch};
        // Dense sets, dense sets that do not start at 0, and sparse ones.
        const int shape = below(3);
        const int first = shape == 0 ? 0 : below(200);
        const int stride = shape == 2 ? 1 + below(13) : 1;
        const int count = 1 + below(6);
        Node masked{.kind = Kind::Binary, .op = "&"};
        masked.kids.push_back(integer(2));
        masked.kids.push_back(constant(chance(30) ? 255 : 15));
        Node selector{.kind = Kind::Binary, .op = "+"};
        selector.kids.push_back(std::move(masked));
        selector.kids.push_back(constant(static_cast<std::uint32_t>(std::max(first - 2, 0))));
        node.kids.push_back(chance(70) ? typed(std::move(selector)) : integer(2));
        const bool outerSwitch = std::exchange(inSwitch, true);
        const int fallback = chance(70) ? below(count + 1) : -1;
        for (int i = 0; i <= count; ++i) {
            Node label{.kind = Kind::Case};
            label.value = i == fallback ? -1 : first + i * stride;
            if (i != fallback && (i == count || label.value > 255)) {
                continue;
            }
            label.kids = block(below(3), depth + 1).kids;
            if (chance(70)) {
                label.kids.push_back(Node{.kind = Kind::Break});
            }
            node.kids.push_back(std::move(label));
        }
        inSwitch = outerSwitch;
        const bool hasValue = std::any_of(node.kids.begin() + 1, node.kids.end(),
                                          [](const Node& label) { return label.value >= 0; });
        if (!hasValue) {
            node.kids.push_back(Node{.kind = Kind::Case, .value = 7});
        }
        return node;
    }

    std::optional<Node> callStatement() {
        for (int attempt = 0; attempt < 2; ++attempt) {
            if (auto call = callOf([](const Function&) { return true; }, 2)) {
                Node node{.kind = Kind::Evaluate};
                node.kids.push_back(std::move(*call));
                return node;
            }
        }
        return std::nullopt;
    }

    // ---- expressions

    Node constant(std::uint32_t word) {
        // The signed reading gets a minus sign in the source; what has its top bit set without one is
        // unsigned.
        return Node{.kind = Kind::Constant, .word = Word::Signed, .value = static_cast<std::int32_t>(word)};
    }

    Node typed(Node node) {
        const Word left = node.kids[0].word;
        const Word right = node.kids.size() > 1 ? node.kids[1].word : left;
        const bool shift = node.op[1] != '\0' && node.op[0] == node.op[1];
        node.word = shift                                                 ? left
                    : (left == Word::Unsigned || right == Word::Unsigned) ? Word::Unsigned
                                                                          : left;
        return node;
    }

    /// An expression that names a place: a variable, an element or what a pointer points to.
    Node place(int index, int depth) {
        const Variable& v = variableAt(index);
        Node node{.kind = Kind::Variable, .word = wordOf(v.type), .variable = index};
        if (v.isPointer()) {
            node.kind = Kind::Pointee;
        } else if (v.length > 0) {
            node.kind = Kind::Element;
            const auto mask = static_cast<std::uint32_t>(v.length - 1);
            if (depth <= 0 || chance(40)) {
                node.kids.push_back(constant(next() & mask));
            } else {
                Node masked{.kind = Kind::Binary, .op = "&"};
                masked.kids.push_back(integer(depth - 1));
                masked.kids.push_back(constant(mask));
                node.kids.push_back(typed(std::move(masked)));
            }
        }
        return node;
    }

    std::optional<Node> target(bool fixedWanted, int depth) {
        const auto index = pickVariable([&](const Variable& v) {
            return !v.counter && !v.isConst() && (v.type == Scalar::fix32) == fixedWanted;
        });
        return index ? std::optional(place(*index, depth)) : std::nullopt;
    }

    Node leaf(bool fixedWanted) {
        if (chance(70)) {
            const auto index =
                pickVariable([&](const Variable& v) { return (v.type == Scalar::fix32) == fixedWanted; });
            if (index) {
                return place(*index, 0);
            }
        }
        if (fixedWanted) {
            // Numbers with few digits make exact halves, where rounding shows.
            const std::uint32_t word = chance(40)   ? static_cast<std::uint32_t>(below(64) - 32) << below(24)
                                       : chance(50) ? next() >> below(16)
                                                    : interestingWord();
            const auto bits = static_cast<std::int32_t>(fit(word, Scalar::fix32));
            return Node{.kind = Kind::Constant, .word = Word::Fixed, .value = bits};
        }
        const std::uint32_t word = interestingWord();
        if (static_cast<std::int32_t>(word) < 0 && chance(40)) {
            return Node{.kind = Kind::Constant, .word = Word::Unsigned, .value = word};
        }
        return constant(word);
    }

    Node condition(int depth) { return chance(80) ? integer(depth) : fixed(depth); }
    Node expression(Word word, int depth) { return word == Word::Fixed ? fixed(depth) : integer(depth); }

    /// A place to assign to; one of an integer type always exists.
    Node anyTarget(int fixedPercent) {
        auto place = chance(fixedPercent) ? target(true, 1) : std::nullopt;
        return place ? std::move(*place) : *target(false, 1);
    }

    Node step() { return stepOf(anyTarget(20)); }

    Node stepOf(Node place) {
        Node node{.kind = Kind::Step, .word = place.word, .op = chance(50) ? "++" : "--"};
        node.value = chance(50) ? 1 : 0;
        node.kids.push_back(std::move(place));
        return node;
    }

    Node assignment(int depth) { return assignTo(anyTarget(25), depth); }

    Node assignTo(Node place, int depth) {
        static constexpr std::array kIntegerOps{
            "=", "=", "=", "=", "=", "+=", "-=", "*=", "/=", "%=", "&=", "|=", "^=", "<<=", ">>="};
        static constexpr std::array kFixedOps{"=", "=", "=", "=", "+=", "-=", "*=", "/="};
        Node node{.kind = Kind::Assign, .word = place.word};
        node.op = place.word == Word::Fixed ? pick(kFixedOps) : pick(kIntegerOps);
        const Word word = place.word;
        node.kids.push_back(std::move(place));
        node.kids.push_back(expression(word, depth));
        return node;
    }

    template<typename Wanted>
    std::optional<Node> callOf(Wanted wanted, int depth) {
        std::vector<int> candidates;
        for (std::size_t i = 0; i < program.functions.size(); ++i) {
            const Function& f = program.functions[i];
            if (f.name != "init" && wanted(f) && current->cost + f.cost * multiplier < kCostLimit) {
                candidates.push_back(static_cast<int>(i));
            }
        }
        if (candidates.empty()) {
            return std::nullopt;
        }
        const int chosen = candidates[static_cast<std::size_t>(below(static_cast<int>(candidates.size())))];
        const Function& callee = program.functions[static_cast<std::size_t>(chosen)];
        Node node{.kind = Kind::Call, .word = wordOf(callee.result), .function = chosen};
        for (const int parameter : callee.parameters) {
            const Scalar type = variableAt(parameter).type;
            if (!variableAt(parameter).isPointer()) {
                node.kids.push_back(expression(wordOf(type), depth - 1));
                continue;
            }
            const auto pointee =
                pickVariable([&](const Variable& v) { return v.type == type && !v.counter && !v.isConst(); });
            if (!pointee) {
                return std::nullopt;
            }
            Node address{.kind = Kind::Address};
            address.kids.push_back(place(*pointee, 1));
            node.kids.push_back(std::move(address));
        }
        charge(callee.cost);
        return node;
    }

    Node binary(const char* op, Node left, Node right) {
        Node node{.kind = Kind::Binary, .op = op};
        node.kids.push_back(std::move(left));
        node.kids.push_back(std::move(right));
        return typed(std::move(node));
    }

    Node comparison(int depth) {
        static constexpr std::array kOps{"<", ">", "<=", ">=", "==", "!="};
        const char* op = pick(kOps);
        Node node =
            chance(25) ? binary(op, fixed(depth), fixed(depth)) : binary(op, integer(depth), integer(depth));
        node.word = Word::Signed;
        return node;
    }

    Node conditional(bool fixedWanted, int depth) {
        Node node{.kind = Kind::Conditional};
        node.kids.push_back(condition(depth));
        for (int i = 0; i < 2; ++i) {
            node.kids.push_back(fixedWanted ? fixed(depth) : integer(depth));
        }
        const bool isUnsigned = node.kids[1].word == Word::Unsigned || node.kids[2].word == Word::Unsigned;
        node.word = fixedWanted ? Word::Fixed : isUnsigned ? Word::Unsigned : Word::Signed;
        return node;
    }

    /// A math builtin on integers or on fix32; `depth` is that of the arguments.
    Node math(bool fixedWanted, int depth) {
        struct Builtin {
            const char* name;
            int arguments;
        };
        static constexpr std::array<Builtin, 4> kAny{{{"abs", 1}, {"min", 2}, {"max", 2}, {"clamp", 3}}};
        static constexpr std::array<Builtin, 4> kFixed{
            {{"lerp", 3}, {"floor", 1}, {"ceil", 1}, {"round", 1}}};
        const Builtin builtin = fixedWanted && chance(50) ? pick(kFixed) : pick(kAny);
        Node node{.kind = Kind::Math, .word = fixedWanted ? Word::Fixed : Word::Signed, .op = builtin.name};
        for (int i = 0; i < builtin.arguments; ++i) {
            node.kids.push_back(fixedWanted ? fixed(depth) : integer(depth));
            if (node.kids.back().word == Word::Unsigned) {
                node.word = Word::Unsigned;
            }
        }
        return node;
    }

    Node integer(int depth) {
        static constexpr std::array kOps{"+", "-", "*", "/", "%", "&", "|", "^", "<<", ">>"};
        static constexpr std::array kLogical{"&&", "||", "^^"};
        static constexpr std::array kUnary{"-", "~", "!"};
        if (depth <= 0) {
            return leaf(false);
        }
        const int choice = below(100);
        if (choice < 40) {
            return binary(pick(kOps), integer(depth - 1), integer(depth - 1));
        }
        if (choice < 50) {
            return comparison(depth - 1);
        }
        if (choice < 57) {
            Node node{.kind = Kind::Logical, .op = pick(kLogical)};
            node.kids.push_back(condition(depth - 1));
            node.kids.push_back(condition(depth - 1));
            return node;
        }
        if (choice < 65) {
            Node node{.kind = Kind::Unary, .op = pick(kUnary)};
            node.kids.push_back(integer(depth - 1));
            node.word = node.op[0] == '!' ? Word::Signed : node.kids[0].word;
            return node;
        }
        if (choice < 73) {
            Node node{.kind = Kind::Cast, .scalar = integerScalar()};
            node.word = wordOf(node.scalar);
            node.kids.push_back(chance(60) ? integer(depth - 1) : fixed(depth - 1));
            return node;
        }
        if (choice < 78) {
            return conditional(false, depth - 1);
        }
        if (choice < 81) {
            return math(false, depth - 1);
        }
        if (choice < 86) {
            auto call =
                callOf([](const Function& f) { return f.returnsValue && f.result != Scalar::fix32; }, depth);
            return call ? std::move(*call) : leaf(false);
        }
        if (choice < 92) {
            auto place = target(false, depth - 1);
            return place ? sideEffect(std::move(*place), depth) : leaf(false);
        }
        return leaf(false);
    }

    Node sideEffect(Node place, int depth) {
        return chance(60) ? stepOf(std::move(place)) : assignTo(std::move(place), depth - 1);
    }

    Node fixed(int depth) {
        static constexpr std::array kOps{"+", "-", "*", "/"};
        if (depth <= 0) {
            return leaf(true);
        }
        const int choice = below(100);
        if (choice < 50) {
            return binary(pick(kOps), fixed(depth - 1), fixed(depth - 1));
        }
        if (choice < 58) {
            Node node{.kind = Kind::Unary, .word = Word::Fixed, .op = "-"};
            node.kids.push_back(fixed(depth - 1));
            return node;
        }
        if (choice < 72) {
            Node node{.kind = Kind::Cast, .word = Word::Fixed, .scalar = Scalar::fix32};
            node.kids.push_back(integer(depth - 1));
            return node;
        }
        if (choice < 78) {
            return conditional(true, depth - 1);
        }
        if (choice < 84) {
            auto call =
                callOf([](const Function& f) { return f.returnsValue && f.result == Scalar::fix32; }, depth);
            return call ? std::move(*call) : leaf(true);
        }
        if (choice < 88) {
            auto place = target(true, depth - 1);
            return place ? sideEffect(std::move(*place), depth) : leaf(true);
        }
        if (choice < 94) {
            return math(true, depth - 1);
        }
        return leaf(true);
    }
};

} // namespace

Program generate(std::uint64_t seed) {
    return Generator(seed).run();
}

} // namespace Vantor::gpc::differential
