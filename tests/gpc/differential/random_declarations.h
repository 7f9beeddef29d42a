// The variables of a random program, and which of them the code in hand may name.

#pragma once

#include "tests/gpc/differential/random_draws.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <utility>

namespace Vantor::gpc::differential {

class RandomDeclarations : protected RandomDraws {
protected:
    explicit RandomDeclarations(std::uint64_t seed) : RandomDraws(seed) { program.seed = seed; }

    void declareGlobals();
    /// Locals and loop counters of the current function, which the code in hand may name from now on.
    void declareLocals(const std::string& prefix);

    int addVariable(Variable variable) {
        program.variables.push_back(std::move(variable));
        return static_cast<int>(program.variables.size()) - 1;
    }

    Variable& variableAt(int index) { return program.variables[static_cast<std::size_t>(index)]; }

    /// One of the visible variables that `wanted` holds for.
    template<typename Wanted>
    std::optional<int> pickVariable(Wanted wanted) {
        std::vector<int> candidates;
        std::copy_if(visible.begin(), visible.end(), std::back_inserter(candidates),
                     [&](int index) { return wanted(variableAt(index)); });
        if (candidates.empty()) {
            return std::nullopt;
        }
        return candidates[static_cast<std::size_t>(below(static_cast<int>(candidates.size())))];
    }

    Program program;
    Function* current = nullptr;
    std::vector<int> visible;  ///< variables that the code in hand may name
    std::vector<int> counters; ///< free loop counters

private:
    void declarePointer(const std::string& name);
};

} // namespace Vantor::gpc::differential
