// Scopes: each binding remembers what it hides.

#include "gpc/symbols.h"

namespace Vantor::gpc {

std::size_t SymbolTable::openScope() {
    ++depth;
    return shadowed.size();
}

void SymbolTable::closeScope(std::size_t mark) {
    while (shadowed.size() > mark) {
        const Shadowed& hidden = shadowed.back();
        entries[hidden.name].variable = hidden.variable;
        entries[hidden.name].depth = hidden.depth;
        shadowed.pop_back();
    }
    --depth;
}

void SymbolTable::bind(NameId name, std::uint32_t variableIndex) {
    Entry& entry = entries[name];
    shadowed.push_back({name, entry.variable, entry.depth});
    entry.variable = variableIndex;
    entry.depth = depth;
}

} // namespace Vantor::gpc
