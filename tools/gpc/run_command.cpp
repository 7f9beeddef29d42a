// Runs bytecode on the reference machine: printf to standard output as it comes, everything else at the end.

#include "commands.h"
#include "diagnostic_text.h"
#include "files.h"
#include "gpc/opcodes.h"
#include "session.h"
#include "simulator/script_machine.h"

#include <cstdio>
#include <span>

namespace Vantor::gpctool {

namespace {

using simulator::ScriptInstruction;
using simulator::ScriptMachine;

constexpr double kFixedOne = 65536;

/// No source begins with this byte, every GBC file does.
constexpr char kBytecodeStart = 0x10;

bool isBytecode(std::string_view content) {
    return !content.empty() && content.front() == kBytecodeStart;
}

void printInstruction(const ScriptInstruction& instruction, std::uint32_t stackPointer) {
    std::fprintf(stderr, "%04x  sp %04x  %s", instruction.address, stackPointer,
                 std::string(instruction.info->name).c_str());
    for (std::size_t index = 0; index < instruction.operands.size(); ++index) {
        if (instruction.info->operands[index] != gpc::OperandKind::None)
            std::fprintf(stderr, " %d", instruction.operands[index]);
    }
    std::fputc('\n', stderr);
}

/// What the script did to the device, each as an array of numbers in per cent of full deflection.
nlohmann::ordered_json fixedNumbers(std::span<const std::int32_t> values) {
    auto list = nlohmann::ordered_json::array();
    for (const std::int32_t value : values)
        list.push_back(value / kFixedOne);
    return list;
}

void describe(const ScriptMachine& machine, std::string text, nlohmann::ordered_json& document) {
    const simulator::ScriptDevice& device = machine.device();
    document["text"] = std::move(text);
    document["instructions"] = machine.steps();
    document["milliseconds"] = device.nowMs;
    document["outputs"] = fixedNumbers(device.outputs);
    document["leds"] = fixedNumbers(device.leds);
    document["motors"] = fixedNumbers(device.motors);
    document["requests"] = nlohmann::ordered_json::array();
    for (const simulator::ScriptRequest& request : device.requests) {
        const std::span arguments(request.arguments.data(), request.argumentCount);
        document["requests"].push_back(
            {{"name", request.name}, {"arguments", arguments}, {"text", request.text}});
    }
}

/// One line on standard error, so that standard output holds what the script printed and nothing else.
void summarise(const ScriptMachine& machine, std::uint64_t ticks) {
    const simulator::ScriptDevice& device = machine.device();
    std::fprintf(stderr, "ran %llu ticks, %llu instructions;", static_cast<unsigned long long>(ticks),
                 static_cast<unsigned long long>(machine.steps()));
    bool any = false;
    for (std::size_t index = 0; index < device.outputs.size(); ++index) {
        if (device.outputs[index] == 0)
            continue;
        std::fprintf(stderr, "%s output %zu = %.2f", any ? "," : "", index,
                     device.outputs[index] / kFixedOne);
        any = true;
    }
    std::fputs(any ? "\n" : " all outputs are 0\n", stderr);
}

} // namespace

int runCommand(const Options& options) {
    Session session(options);
    if (!session.read(kSourceReadLimit))
        return session.finish(kExitUsage);
    std::vector<std::uint8_t> bytecode(session.input.begin(), session.input.end());
    if (!isBytecode(session.input) && !session.compile(bytecode))
        return session.finish(kExitFaulty);

    ScriptMachine machine;
    std::string text;
    std::uint64_t ticks = 0;
    bool running = machine.load(bytecode);
    if (running && options.trace)
        machine.setTrace(printInstruction);
    while (running && ticks < options.ticks) {
        running = machine.tick();
        ticks += running ? 1 : 0;
        const std::string printed = machine.takeText();
        if (options.json)
            text += printed;
        else if (!printed.empty() && !session.write(std::string(kStandardStream), printed))
            return session.finish(kExitUsage);
    }
    if (options.json) {
        session.document["ticks"] = ticks;
        describe(machine, std::move(text), session.document);
    } else if (running) {
        summarise(machine, ticks);
    }
    if (!running)
        session.fail(shownPath(options.input) + ": stopped after " + std::to_string(ticks) +
                     " ticks: " + machine.error());
    return session.finish(running ? kExitFine : kExitFaulty);
}

} // namespace Vantor::gpctool
