// Input Translator files: what is taken must be all of the file, what is refused must say why and change
// nothing.

#include "fuzz/target.h"
#include "gpc/input_translator.h"

#include <vector>

namespace Vantor::fuzz {

namespace {

/// The one file that the parts describe.
std::vector<std::uint8_t> fileOf(const gpc::InputTranslator& translator) {
    std::vector<std::uint8_t> file{0x10, static_cast<std::uint8_t>(translator.title.size() + 1)};
    file.insert(file.end(), translator.title.begin(), translator.title.end());
    file.push_back(0);
    for (const gpc::InputTranslatorSection& section : translator.sections) {
        check(!gpc::inputTranslatorSectionName(section.tag).empty(), "every section that is kept has a name");
        file.push_back(section.tag);
        file.push_back(static_cast<std::uint8_t>(section.data.size()));
        file.insert(file.end(), section.data.begin(), section.data.end());
    }
    file.push_back(0);
    return file;
}

} // namespace

void takeInput(Bytes input) {
    gpc::InputTranslator translator{"before", {{0xFF, {}}}};
    std::string error = "before";
    if (gpc::parseInputTranslator(input, translator, error)) {
        check(error.empty(), "a translator that is taken leaves no error");
        check(translator.sections.size() <= 4, "each kind of section stands at most once");
        check(std::ranges::equal(fileOf(translator), input), "the parts of a translator are all of its file");
    } else {
        check(!error.empty() && error != "before", "a refusal has a reason");
        check(translator.title == "before" && translator.sections.size() == 1, "a refusal changes nothing");
    }
}

} // namespace Vantor::fuzz
