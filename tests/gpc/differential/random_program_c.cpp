// Prints random programs as C: one assignment per operation, on 32-bit words, in the order of a script's
// evaluation.
//
// The rules of the language stand in the prelude's helper functions and in the choice between them; the C
// compiler's own promotions and evaluation order are never relied on.

#include "tests/gpc/differential/random_program.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace Vantor::gpc::differential {

namespace {

std::size_t indexOf(int number) {
    return static_cast<std::size_t>(number);
}

std::string wordLiteral(std::int64_t value) {
    return std::to_string(static_cast<std::uint32_t>(value)) + "u";
}

class CPrinter {
public:
    CPrinter(const Program& source, std::string namePrefix)
        : program(source), prefix(std::move(namePrefix)) {}

    std::string run() {
        for (const int index : program.globals) {
            declare(program.variables[indexOf(index)], "static ");
        }
        for (const Function& function : program.functions) {
            printFunction(function);
        }
        text += "static void " + prefix + "run(void) { " + prefix + "init(); " + prefix + "main(); " +
                prefix + "main();\n";
        for (const int index : program.globals) {
            const Variable& v = program.variables[indexOf(index)];
            if (v.place == Variable::Place::Global) {
                text += std::string("show(") + (v.length > 0 ? "" : "&") + name(index) + ", " +
                        std::to_string(v.length > 0 ? v.length : 1) + ", " + std::to_string(widthOf(v.type)) +
                        ");\n";
            }
        }
        return text + "putchar('\\n'); }\n";
    }

private:
    const Program& program;
    std::string prefix;
    std::string text;
    std::string code; ///< the function in hand; its temporaries are declared in front when it is complete
    const Function* current = nullptr;
    int temporaries = 0;
    std::vector<std::string> addresses; ///< declarations of the pointers that hold places
    int labels = 0;
    struct Exits {
        std::string breakLabel;
        std::string continueLabel;
    };
    std::vector<Exits> exits;

    const Variable& variable(int index) const { return program.variables[indexOf(index)]; }
    std::string name(int index) const { return prefix + variable(index).name; }

    void declare(const Variable& v, const std::string& storage) {
        std::string& out = current != nullptr ? code : text;
        if (v.isPointer()) {
            out += storage + cName(v.type) + " *" + prefix + v.name + " = &" + name(v.pointee) +
                   (variable(v.pointee).length > 0 ? "[0];\n" : ";\n");
            return;
        }
        out += storage + cName(v.type) + " " + prefix + v.name;
        out += v.length > 0 ? "[" + std::to_string(v.length) + "]" : "";
        out += v.length > 0 ? " = {" : " = ";
        for (const std::uint32_t word : v.initial) {
            out += "(" + std::string(cName(v.type)) + ")" + wordLiteral(word) + (v.length > 0 ? "," : "");
        }
        out += v.initial.empty() ? "0" : "";
        out += v.length > 0 ? "};\n" : ";\n";
    }

    void printFunction(const Function& function) {
        current = &function;
        code.clear();
        temporaries = 0;
        addresses.clear();
        const bool isBlock = function.name == "init" || function.name == "main";
        std::string head = std::string("static ") +
                           (function.returnsValue ? cName(function.result) : "void") + " " + prefix +
                           function.name + "(";
        for (std::size_t i = 0; i < function.parameters.size(); ++i) {
            const Variable& v = variable(function.parameters[i]);
            const bool pointer = v.isPointer();
            head += std::string(i > 0 ? ", " : "") + cName(v.type) + (pointer ? " *" : " ") + prefix + v.name;
        }
        head += function.parameters.empty() ? "void) {\n" : ") {\n";
        for (const int local : function.locals) {
            const Variable& v = variable(local);
            const bool keeps = v.place == Variable::Place::StaticLocal || (isBlock && v.initial.empty());
            declare(v, keeps ? "static " : "");
        }
        statements(function.body);
        text += head;
        for (int i = 0; i < temporaries; ++i) {
            text += (i == 0 ? "u32 t" : ", t") + std::to_string(i);
        }
        for (const std::string& address : addresses) {
            code.insert(0, address);
        }
        text += (temporaries > 0 ? ";\n" : "") + code + (function.returnsValue ? "return 0;}\n" : "}\n");
        current = nullptr;
    }

    std::string fresh() { return "t" + std::to_string(temporaries++); }
    std::string freshLabel(const char* kind) { return kind + std::to_string(labels++); }
    void line(const std::string& content) { code += content + "\n"; }

    std::string set(const std::string& value) {
        std::string temporary = fresh();
        line(temporary + " = " + value + ";");
        return temporary;
    }

    // ---- statements

    void statements(const Node& list) {
        for (const Node& kid : list.kids) {
            statement(kid);
        }
    }

    void statement(const Node& node) {
        switch (node.kind) {
        case Kind::Evaluate:
            expression(node.kids[0]);
            break;
        case Kind::Point:
            line(name(node.variable) + " = &" + place(node.kids[0]) + ";");
            break;
        case Kind::If:
            line("if (" + expression(node.kids[0]) + ") {");
            statements(node.kids[1]);
            line("} else {");
            if (node.kids.size() > 2) {
                statements(node.kids[2]);
            }
            line("}");
            break;
        case Kind::While:
        case Kind::Do:
        case Kind::For:
            loop(node);
            break;
        case Kind::Switch:
            switchStatement(node);
            break;
        case Kind::Break:
            line("goto " + exits.back().breakLabel + ";");
            break;
        case Kind::Continue:
            line("goto " + continueLabel() + ";");
            break;
        case Kind::Return:
            line(node.kids.empty() ? "return;"
                                   : "return (" + std::string(cName(current->result)) + ")" +
                                         expression(node.kids[0]) + ";");
            break;
        default:
            statements(node);
        }
    }

    std::string continueLabel() const {
        const auto loop = std::find_if(exits.rbegin(), exits.rend(),
                                       [](const Exits& exit) { return !exit.continueLabel.empty(); });
        return loop == exits.rend() ? "" : loop->continueLabel;
    }

    void loop(const Node& node) {
        const Exits labelsHere{freshLabel("brk"), freshLabel("cnt")};
        const std::string counter = name(node.variable);
        const auto test = [&] {
            line("if (!(" + counter + " < " + std::to_string(node.value) + ")) break;");
            line("if (!" + expression(node.kids[0]) + ") break;");
        };
        line(counter + " = 0;");
        line("for (;;) {");
        if (node.kind != Kind::Do) {
            test();
        }
        if (node.kind != Kind::For) {
            line(counter + "++;");
        }
        exits.push_back(labelsHere);
        statements(node.kids[1]);
        exits.pop_back();
        line(labelsHere.continueLabel + ":;");
        if (node.kind == Kind::For) {
            line(counter + "++;");
        }
        if (node.kind == Kind::Do) {
            test();
        }
        line("}");
        line(labelsHere.breakLabel + ":;");
    }

    void switchStatement(const Node& node) {
        const std::string label = freshLabel("brk");
        line("switch (" + expression(node.kids[0]) + ") {");
        exits.push_back({label, ""});
        for (std::size_t i = 1; i < node.kids.size(); ++i) {
            const auto value = node.kids[i].value;
            line(value < 0 ? "default:;" : "case " + std::to_string(value) + "u:;");
            statements(node.kids[i]);
        }
        exits.pop_back();
        line("}");
        line(label + ":;");
    }

    // ---- expressions: each returns the name of the word that holds its value

    /// The C text of the place that an expression names; evaluates an index first.
    std::string place(const Node& node) {
        switch (node.kind) {
        case Kind::Element:
            return name(node.variable) + "[" + expression(node.kids[0]) + "]";
        case Kind::Pointee: {
            // What the pointer holds now; evaluating the rest may change it.
            const std::string pointer = "a" + std::to_string(addresses.size());
            addresses.push_back(std::string(cName(variable(node.variable).type)) + " *" + pointer + ";\n");
            line(pointer + " = " + name(node.variable) + ";");
            return "(*" + pointer + ")";
        }
        default:
            return name(node.variable);
        }
    }

    std::string store(const Node& target, const std::string& where, const std::string& word) {
        const std::string type = cName(variable(target.variable).type);
        line(where + " = (" + type + ")" + word + ";");
        return set("(u32)" + where);
    }

    std::string expression(const Node& node) {
        switch (node.kind) {
        case Kind::Constant:
            return set(wordLiteral(node.value));
        case Kind::Variable:
        case Kind::Element:
        case Kind::Pointee:
            return set("(u32)" + place(node));
        case Kind::Unary:
            return unary(node);
        case Kind::Cast:
            return cast(node);
        case Kind::Binary: {
            const std::string left = expression(node.kids[0]);
            const std::string right = expression(node.kids[1]);
            return operation(node.op, left, right, node.kids[0].word, node.kids[1].word);
        }
        case Kind::Logical:
            return logical(node);
        case Kind::Conditional:
            return conditional(node);
        case Kind::Call:
            return call(node);
        case Kind::Math:
            return math(node);
        case Kind::Assign:
            return assign(node);
        case Kind::Step: {
            const std::string where = place(node.kids[0]);
            const std::string old = set("(u32)" + where);
            const std::string by = node.kids[0].word == Word::Fixed ? "65536u" : "1u";
            const std::string changed = set(old + (node.op[0] == '+' ? " + " : " - ") + by);
            const std::string stored = store(node.kids[0], where, changed);
            return node.value != 0 ? stored : old;
        }
        default:
            return "0u";
        }
    }

    std::string unary(const Node& node) {
        const std::string value = expression(node.kids[0]);
        return set(node.op[0] == '!' ? "(u32)!" + value : node.op[0] == '~' ? "~" + value : "0u - " + value);
    }

    std::string cast(const Node& node) {
        const std::string value = expression(node.kids[0]);
        const bool fromFixed = node.kids[0].word == Word::Fixed;
        if (node.scalar == Scalar::fix32) {
            return fromFixed ? value : set(value + " << 16");
        }
        const std::string integer = fromFixed ? set("fixed_to_integer(" + value + ")") : value;
        return set("(u32)(" + std::string(cName(node.scalar)) + ")" + integer);
    }

    std::string operation(std::string_view op, const std::string& left, const std::string& right,
                          Word leftWord, Word rightWord) {
        struct Rule {
            std::string_view op;
            const char* ofSigned;
            const char* ofUnsigned;
            const char* ofFixed;
        };
        static constexpr std::array<Rule, 16> kRules{{
            {"+", "add", "add", "add"},
            {"-", "sub", "sub", "sub"},
            {"*", "mul", "mul", "mul_fixed"},
            {"/", "div_signed", "div_unsigned", "div_fixed"},
            {"%", "mod_signed", "mod_unsigned", ""},
            {"&", "bit_and", "bit_and", ""},
            {"|", "bit_or", "bit_or", ""},
            {"^", "bit_xor", "bit_xor", ""},
            {"<<", "shl", "shl", ""},
            {">>", "shr_signed", "shr_unsigned", ""},
            {"<", "lt_signed", "lt_unsigned", "lt_signed"},
            {">", "gt_signed", "gt_unsigned", "gt_signed"},
            {"<=", "le_signed", "le_unsigned", "le_signed"},
            {">=", "ge_signed", "ge_unsigned", "ge_signed"},
            {"==", "eq", "eq", "eq"},
            {"!=", "ne", "ne", "ne"},
        }};
        const bool shift = op == "<<" || op == ">>";
        const bool isUnsigned = leftWord == Word::Unsigned || (!shift && rightWord == Word::Unsigned);
        for (const Rule& rule : kRules) {
            if (rule.op == op) {
                const char* helper = leftWord == Word::Fixed ? rule.ofFixed
                                     : isUnsigned            ? rule.ofUnsigned
                                                             : rule.ofSigned;
                std::string call = helper;
                call.append("(").append(left).append(", ").append(right).append(")");
                return set(call);
            }
        }
        return "unknown_operator";
    }

    std::string logical(const Node& node) {
        std::string result = fresh();
        const std::string left = expression(node.kids[0]);
        const std::string_view op = node.op;
        if (op == "^^") {
            const std::string right = expression(node.kids[1]);
            line(result + " = (u32)(!" + left + " != !" + right + ");");
            return result;
        }
        line(result + " = (u32)(" + left + " != 0u);");
        line(std::string("if (") + (op == "&&" ? "" : "!") + result + ") {");
        const std::string right = expression(node.kids[1]);
        line(result + " = (u32)(" + right + " != 0u);");
        line("}");
        return result;
    }

    std::string conditional(const Node& node) {
        std::string result = fresh();
        line("if (" + expression(node.kids[0]) + ") {");
        line(result + " = " + expression(node.kids[1]) + ";");
        line("} else {");
        line(result + " = " + expression(node.kids[2]) + ";");
        line("}");
        return result;
    }

    std::string math(const Node& node) {
        std::string arguments;
        for (const Node& kid : node.kids) {
            arguments += arguments.empty() ? "" : ", ";
            arguments += expression(kid);
        }
        const bool isUnsigned = node.word == Word::Unsigned;
        return set("math_" + std::string(node.op) + (isUnsigned ? "_unsigned(" : "(") + arguments + ")");
    }

    std::string call(const Node& node) {
        const Function& callee = program.functions[indexOf(node.function)];
        std::string arguments;
        for (std::size_t i = 0; i < node.kids.size(); ++i) {
            const Node& kid = node.kids[i];
            const std::string value =
                kid.kind == Kind::Address
                    ? "&" + place(kid.kids[0])
                    : "(" + std::string(cName(variable(callee.parameters[i]).type)) + ")" + expression(kid);
            arguments += (i > 0 ? ", " : "") + value;
        }
        const std::string callText = prefix + callee.name + "(" + arguments + ")";
        if (callee.returnsValue) {
            return set("(u32)" + callText);
        }
        line(callText + ";");
        return "0u";
    }

    std::string assign(const Node& node) {
        const Node& target = node.kids[0];
        const std::string where = place(target);
        const std::string_view op = node.op;
        if (op == "=") {
            return store(target, where, expression(node.kids[1]));
        }
        const std::string old = set("(u32)" + where);
        const std::string right = expression(node.kids[1]);
        const std::string changed =
            operation(op.substr(0, op.size() - 1), old, right, target.word, node.kids[1].word);
        return store(target, where, changed);
    }
};

} // namespace

std::string printC(const Program& program, const std::string& prefix) {
    return CPrinter(program, prefix).run();
}

const char* cPrelude() {
    return R"(#include <stdint.h>
#include <stdio.h>
typedef uint32_t u32;
typedef int32_t i32;
typedef int32_t fix32_t;
static u32 add(u32 a, u32 b) { return a + b; }
static u32 sub(u32 a, u32 b) { return a - b; }
static u32 mul(u32 a, u32 b) { return a * b; }
static u32 div_signed(u32 a, u32 b) { return b == 0 ? 0 : b == 0xFFFFFFFFu ? 0u - a : (u32)((i32)a / (i32)b); }
static u32 div_unsigned(u32 a, u32 b) { return b == 0 ? 0 : a / b; }
static u32 mod_signed(u32 a, u32 b) { return b == 0 || b == 0xFFFFFFFFu ? 0 : (u32)((i32)a % (i32)b); }
static u32 mod_unsigned(u32 a, u32 b) { return b == 0 ? 0 : a % b; }
static u32 bit_and(u32 a, u32 b) { return a & b; }
static u32 bit_or(u32 a, u32 b) { return a | b; }
static u32 bit_xor(u32 a, u32 b) { return a ^ b; }
static u32 shl(u32 a, u32 b) { return a << (b & 31); }
static u32 shr_unsigned(u32 a, u32 b) { return a >> (b & 31); }
static u32 shr_signed(u32 a, u32 b) {
  u32 n = b & 31;
  return (a & 0x80000000u) && n ? (a >> n) | (0xFFFFFFFFu << (32 - n)) : a >> n;
}
static u32 lt_signed(u32 a, u32 b) { return (i32)a < (i32)b; }
static u32 gt_signed(u32 a, u32 b) { return (i32)a > (i32)b; }
static u32 le_signed(u32 a, u32 b) { return (i32)a <= (i32)b; }
static u32 ge_signed(u32 a, u32 b) { return (i32)a >= (i32)b; }
static u32 lt_unsigned(u32 a, u32 b) { return a < b; }
static u32 gt_unsigned(u32 a, u32 b) { return a > b; }
static u32 le_unsigned(u32 a, u32 b) { return a <= b; }
static u32 ge_unsigned(u32 a, u32 b) { return a >= b; }
static u32 eq(u32 a, u32 b) { return a == b; }
static u32 ne(u32 a, u32 b) { return a != b; }
static u32 rounded(int64_t n, int64_t d) { /* n / d to the nearest, halves away from zero */
  int64_t q = n / d, r = n % d;
  int64_t twice = r < 0 ? -2 * r : 2 * r;
  if (twice >= (d < 0 ? -d : d)) q += (n < 0) == (d < 0) ? 1 : -1;
  return (u32)q;
}
static u32 mul_fixed(u32 a, u32 b) { return rounded((int64_t)(i32)a * (i32)b, 65536); }
static u32 div_fixed(u32 a, u32 b) { return b == 0 ? 0 : rounded((int64_t)(i32)a * 65536, (i32)b); }
static u32 math_abs(u32 a) { return (i32)a < 0 ? 0u - a : a; }
static u32 math_abs_unsigned(u32 a) { return a; }
static u32 math_min(u32 a, u32 b) { return (i32)b < (i32)a ? b : a; }
static u32 math_min_unsigned(u32 a, u32 b) { return b < a ? b : a; }
static u32 math_max(u32 a, u32 b) { return (i32)b > (i32)a ? b : a; }
static u32 math_max_unsigned(u32 a, u32 b) { return b > a ? b : a; }
static u32 math_clamp(u32 a, u32 low, u32 high) { return math_min(math_max(a, low), high); }
static u32 math_clamp_unsigned(u32 a, u32 low, u32 high) { return math_min_unsigned(math_max_unsigned(a, low), high); }
static u32 math_lerp(u32 a, u32 b, u32 t) { return a + mul_fixed(b - a, t); }
static u32 math_floor(u32 a) { i32 whole = (i32)a / 65536; return (u32)(whole - ((i32)a < 0 && (i32)a % 65536 != 0)) * 65536u; }
static u32 math_ceil(u32 a) { i32 whole = (i32)a / 65536; return (u32)(whole + ((i32)a > 0 && (i32)a % 65536 != 0)) * 65536u; }
static u32 math_round(u32 a) { return rounded((i32)a, 65536) * 65536u; }
static u32 fixed_to_integer(u32 a) { return (u32)((i32)a / 65536); }
static void show(const void *data, int count, int width) {
  int i, k;
  for (i = 0; i < count; ++i) {
    u32 word = width == 1 ? ((const uint8_t *)data)[i] : width == 2 ? ((const uint16_t *)data)[i] : ((const u32 *)data)[i];
    for (k = width - 1; k >= 0; --k) printf("%02x", word >> (8 * k) & 255);
  }
}
)";
}

} // namespace Vantor::gpc::differential
