// Prints random programs: as a script, and as C in the order in which a script evaluates.

#include "tests/gpc/differential/random_program.h"

#include <array>
#include <cinttypes>
#include <cstdio>
#include <string_view>
#include <utility>

namespace Vantor::gpc::differential {

namespace {

std::string hexadecimal(std::int64_t value) {
    std::array<char, 24> text{};
    std::snprintf(text.data(), text.size(), "0x%" PRIX64, static_cast<std::uint64_t>(value));
    return text.data();
}

/// Nine digits are enough to get the same 16.16 bits back.
std::string fixedLiteral(std::int64_t bits) {
    const bool negative = bits < 0;
    const auto magnitude = static_cast<std::uint64_t>(negative ? -bits : bits);
    const std::uint64_t fraction = ((magnitude & 0xFFFF) * 1000000000ULL + 32768) / 65536;
    std::array<char, 48> text{};
    std::snprintf(text.data(), text.size(),
                  negative ? "(-%" PRIu64 ".%09" PRIu64 ")" : "%" PRIu64 ".%09" PRIu64, magnitude >> 16,
                  fraction);
    return text.data();
}

std::string literal(std::int64_t value, Word word) {
    if (word == Word::Fixed) {
        return fixedLiteral(value);
    }
    if (value < 0) {
        return "(" + std::to_string(value) + ")";
    }
    return value % 3 == 1 ? hexadecimal(value) : std::to_string(value);
}

std::string initializer(const Variable& v) {
    if (v.initial.empty()) {
        return "";
    }
    std::string text = v.length > 0 ? " = {" : " = ";
    for (std::size_t i = 0; i < v.initial.size(); ++i) {
        const std::int64_t value = v.type == Scalar::uint32 ? static_cast<std::int64_t>(v.initial[i])
                                                            : static_cast<std::int32_t>(v.initial[i]);
        text += (i > 0 ? ", " : "") + literal(value, wordOf(v.type));
    }
    return text + (v.length > 0 ? "}" : "");
}

std::string declaration(const Variable& v, std::string_view typeName) {
    std::string text = std::string(typeName) + " " + v.name;
    return v.length > 0 ? text + "[" + std::to_string(v.length) + "]" : text;
}

std::size_t indexOf(int number) {
    return static_cast<std::size_t>(number);
}

constexpr int kConditionalRank = 1;
constexpr int kAndRank = 4;
constexpr int kUnaryRank = 13;

/// How tightly an expression binds: assignment 0, then as in C, with ^^ between || and &&.
int rank(const Node& node) {
    static constexpr std::array<std::pair<std::string_view, int>, 19> kBinary{{
        {"||", 2}, {"^^", 3}, {"&&", kAndRank}, {"|", 5},  {"^", 6},  {"&", 7},   {"==", 8},
        {"!=", 8}, {"<", 9},  {">", 9},         {"<=", 9}, {">=", 9}, {"<<", 10}, {">>", 10},
        {"+", 11}, {"-", 11}, {"*", 12},        {"/", 12}, {"%", 12},
    }};
    switch (node.kind) {
    case Kind::Assign:
        return 0;
    case Kind::Conditional:
        return kConditionalRank;
    case Kind::Binary:
    case Kind::Logical:
        for (const auto& [op, rank] : kBinary) {
            if (op == node.op) {
                return rank;
            }
        }
        return 0;
    case Kind::Unary:
    case Kind::Cast:
    case Kind::Pointee:
    case Kind::Step:
        return kUnaryRank;
    default:
        return kUnaryRank + 1;
    }
}

class ScriptPrinter {
public:
    explicit ScriptPrinter(const Program& source) : program(source) {}

    std::string run() {
        for (const int index : program.globals) {
            const Variable& v = program.variables[indexOf(index)];
            if (v.isPointer()) {
                const Variable& pointee = program.variables[indexOf(v.pointee)];
                text += std::string(scriptName(v.type)) + " *" + v.name + " = &" + pointee.name +
                        (pointee.length > 0 ? "[0];\n" : ";\n");
                continue;
            }
            const std::string type =
                std::string(v.place == Variable::Place::ConstGlobal ? "const " : "") + scriptName(v.type);
            text += declaration(v, type) + initializer(v) + ";\n";
        }
        for (const Function& function : program.functions) {
            printFunction(function);
        }
        return std::move(text);
    }

private:
    const Program& program;
    std::string text;
    int indent = 0;

    void line(const std::string& content) {
        text.append(indexOf(indent * 2), ' ');
        text += content + "\n";
    }

    void printFunction(const Function& function) {
        std::string head = function.name;
        if (function.name != "init" && function.name != "main") {
            head =
                std::string(function.returnsValue ? scriptName(function.result) : "void") + " " + head + "(";
            for (std::size_t i = 0; i < function.parameters.size(); ++i) {
                const Variable& v = program.variables[indexOf(function.parameters[i])];
                const bool pointer = v.isPointer();
                head +=
                    (i > 0 ? ", " : "") + std::string(scriptName(v.type)) + (pointer ? " *" : " ") + v.name;
            }
            head += ")";
        }
        line(head + " {");
        ++indent;
        for (const int local : function.locals) {
            const Variable& v = program.variables[indexOf(local)];
            const bool isStatic = v.place == Variable::Place::StaticLocal;
            line((isStatic      ? "static "
                  : v.isConst() ? "const "
                                : "") +
                 declaration(v, scriptName(v.type)) + initializer(v) + ";");
        }
        statements(function.body);
        --indent;
        line("}");
    }

    void statements(const Node& list) {
        for (const Node& kid : list.kids) {
            statement(kid);
        }
    }

    /// A body of one simple statement goes without braces.
    void body(const std::string& head, const Node& block) {
        const bool bare = block.kids.size() == 1 && block.kids[0].kind == Kind::Evaluate;
        line(bare ? head : head + " {");
        ++indent;
        statements(block);
        --indent;
        if (!bare) {
            line("}");
        }
    }

    void statement(const Node& node) {
        switch (node.kind) {
        case Kind::Evaluate:
            line(expression(node.kids[0]) + ";");
            break;
        case Kind::Point:
            line(program.variables[indexOf(node.variable)].name + " = &" + expression(node.kids[0]) + ";");
            break;
        case Kind::If:
            body("if (" + expression(node.kids[0]) + ")", node.kids[1]);
            if (node.kids.size() > 2) {
                body("else", node.kids[2]);
            }
            break;
        case Kind::While:
        case Kind::Do:
        case Kind::For:
            loop(node);
            break;
        case Kind::Switch:
            line("switch (" + expression(node.kids[0]) + ") {");
            for (std::size_t i = 1; i < node.kids.size(); ++i) {
                const auto value = node.kids[i].value;
                line(value < 0 ? "default:" : "case " + std::to_string(value) + ":");
                ++indent;
                statements(node.kids[i]);
                --indent;
            }
            line("}");
            break;
        case Kind::Break:
            line("break;");
            break;
        case Kind::Continue:
            line("continue;");
            break;
        case Kind::Return:
            line(node.kids.empty() ? "return;" : "return " + expression(node.kids[0]) + ";");
            break;
        default:
            line("{");
            statements(node);
            line("}");
        }
    }

    void loop(const Node& node) {
        const std::string counter = program.variables[indexOf(node.variable)].name;
        const std::string condition =
            counter + " < " + std::to_string(node.value) + " && " + operand(node.kids[0], kAndRank + 1);
        if (node.kind == Kind::For) {
            body("for (" + counter + " = 0; " + condition + "; " + counter + "++)", node.kids[1]);
            return;
        }
        line(counter + " = 0;");
        line(node.kind == Kind::Do ? "do {" : "while (" + condition + ") {");
        ++indent;
        line("++" + counter + ";");
        statements(node.kids[1]);
        --indent;
        line(node.kind == Kind::Do ? "} while (" + condition + ");" : "}");
    }

    std::string expression(const Node& node) {
        std::string name = node.variable >= 0 ? program.variables[indexOf(node.variable)].name : "";
        switch (node.kind) {
        case Kind::Constant:
            return literal(node.value, node.word);
        case Kind::Variable:
            return name;
        case Kind::Element:
            return name + "[" + expression(node.kids[0]) + "]";
        case Kind::Pointee:
            return "*" + name;
        case Kind::Unary: {
            // A minus in front of a number belongs to the number, whose limits are others then.
            const bool number = node.kids[0].kind == Kind::Constant;
            return node.op +
                   (number ? "(" + expression(node.kids[0]) + ")" : operand(node.kids[0], kUnaryRank + 1));
        }
        case Kind::Cast:
            return "(" + std::string(scriptName(node.scalar)) + ")" + operand(node.kids[0], kUnaryRank + 1);
        case Kind::Binary:
        case Kind::Logical:
            return operand(node.kids[0], rank(node)) + " " + node.op + " " +
                   operand(node.kids[1], rank(node) + 1);
        case Kind::Conditional:
            return operand(node.kids[0], kConditionalRank + 1) + " ? " + expression(node.kids[1]) + " : " +
                   operand(node.kids[2], kConditionalRank);
        case Kind::Call:
        case Kind::Math: {
            std::string call =
                (node.kind == Kind::Math ? node.op : program.functions[indexOf(node.function)].name) + "(";
            for (std::size_t i = 0; i < node.kids.size(); ++i) {
                call += (i > 0 ? ", " : "") + expression(node.kids[i]);
            }
            return call + ")";
        }
        case Kind::Address: {
            const Node& place = node.kids[0];
            const std::string pointee = expression(place);
            return place.kind == Kind::Pointee ? pointee.substr(1) : "&" + pointee;
        }
        case Kind::Assign:
            return expression(node.kids[0]) + " " + node.op + " " + expression(node.kids[1]);
        case Kind::Step:
            return node.value != 0 ? node.op + expression(node.kids[0]) : stepped(node.kids[0]) + node.op;
        default:
            return "";
        }
    }

    std::string stepped(const Node& place) {
        return place.kind == Kind::Pointee ? "(" + expression(place) + ")" : expression(place);
    }

    /// Precedence is part of what is compared, so parentheses stand only where C needs them.
    std::string operand(const Node& node, int lowestRank) {
        return rank(node) < lowestRank ? "(" + expression(node) + ")" : expression(node);
    }
};

} // namespace

std::string printScript(const Program& program) {
    return ScriptPrinter(program).run();
}

} // namespace Vantor::gpc::differential
