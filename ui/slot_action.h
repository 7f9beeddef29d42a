// What a user can do with a memory slot.

#pragma once

namespace Vantor {

enum class SlotAction {
    loadScriptFile,     ///< choose a script's source or bytecode and load it
    loadTranslatorFile, ///< choose an input translator and load it
    removeScript,
    removeInputTranslator,
    run, ///< let the adapter run what the slot holds
};

} // namespace Vantor
