// The types of random programs, and the ways to make a program smaller.

#include "tests/gpc/differential/random_program.h"

#include <algorithm>
#include <array>
#include <functional>
#include <utility>

namespace Vantor::gpc::differential {

namespace {

struct ScalarInfo {
    const char* script;
    const char* c;
    unsigned width;
    Word word;
};

constexpr std::array<ScalarInfo, kScalarCount> kScalars{{
    {"uint8", "uint8_t", 1, Word::Signed},
    {"int8", "int8_t", 1, Word::Signed},
    {"uint16", "uint16_t", 2, Word::Signed},
    {"int16", "int16_t", 2, Word::Signed},
    {"uint32", "uint32_t", 4, Word::Unsigned},
    {"int32", "int32_t", 4, Word::Signed},
    {"fix32", "fix32_t", 4, Word::Fixed},
}};

/// Calls `use` with every node, outermost first, until it returns true.
template<typename Use>
bool visit(Node& node, const Use& use) {
    return use(node) ||
           std::any_of(node.kids.begin(), node.kids.end(), [&](Node& kid) { return visit(kid, use); });
}

/// Whether the node's operand `k` is a place rather than a value, so that nothing else may stand there.
bool needsPlace(const Node& node, std::size_t k) {
    return k == 0 && (node.kind == Kind::Assign || node.kind == Kind::Step || node.kind == Kind::Address ||
                      node.kind == Kind::Point);
}

/// An operator or a call: something whose value another one could take the place of.
bool isOperation(const Node& node) {
    return node.kind >= Kind::Unary && node.kind <= Kind::Step && node.kind != Kind::Address;
}

bool isValue(const Node& node) {
    return node.kind <= Kind::Step && node.kind != Kind::Address;
}

using Change = std::function<void(Node&)>;

/// What may be left out directly below the node.
std::vector<Change> changesOf(const Node& node) {
    std::vector<Change> changes;
    for (std::size_t k = 0; k < node.kids.size(); ++k) {
        const Node& kid = node.kids[k];
        if (node.kind == Kind::Block || node.kind == Kind::Case) {
            changes.emplace_back(
                [k](Node& n) { n.kids.erase(n.kids.begin() + static_cast<std::ptrdiff_t>(k)); });
        }
        if (!isOperation(kid) || needsPlace(node, k) || node.kind == Kind::Evaluate) {
            continue;
        }
        changes.emplace_back(
            [k](Node& n) { n.kids[k] = Node{.kind = Kind::Constant, .word = n.kids[k].word, .value = 1}; });
        for (std::size_t i = 0; i < kid.kids.size() && node.kind != Kind::Element; ++i) {
            if (isValue(kid.kids[i]) && kid.kids[i].word == kid.word) {
                changes.emplace_back([k, i](Node& n) { n.kids[k] = Node(n.kids[k].kids[i]); });
            }
        }
    }
    return changes;
}

} // namespace

const char* scriptName(Scalar type) {
    return kScalars[static_cast<std::size_t>(type)].script;
}

const char* cName(Scalar type) {
    return kScalars[static_cast<std::size_t>(type)].c;
}

unsigned widthOf(Scalar type) {
    return kScalars[static_cast<std::size_t>(type)].width;
}

Word wordOf(Scalar type) {
    return kScalars[static_cast<std::size_t>(type)].word;
}

std::vector<Program> reductions(const Program& program) {
    std::vector<Program> result;
    for (std::size_t f = 0; f < program.functions.size(); ++f) {
        // Nodes are numbered in the order of the visit, so that the same number finds the node in a copy.
        std::size_t number = 0;
        Node body = program.functions[f].body;
        visit(body, [&](Node& node) {
            const std::size_t at = number++;
            for (const Change& change : changesOf(node)) {
                Program copy = program;
                std::size_t inCopy = 0;
                visit(copy.functions[f].body, [&](Node& n) { return inCopy++ == at && (change(n), true); });
                result.push_back(std::move(copy));
            }
            return false;
        });
    }
    return result;
}

} // namespace Vantor::gpc::differential
