// The listing of a GBC file, as aligned text or line by line in the JSON document.

#include "commands.h"
#include "diagnostic_text.h"
#include "files.h"
#include "gpc/disassembler.h"
#include "session.h"

#include <string_view>

namespace Vantor::gpctool {

namespace {

std::string_view kindName(gpc::ListingLine::Kind kind) {
    switch (kind) {
    case gpc::ListingLine::Kind::Heading:
        return "heading";
    case gpc::ListingLine::Kind::Label:
        return "label";
    case gpc::ListingLine::Kind::Data:
        return "data";
    case gpc::ListingLine::Kind::Code:
        return "code";
    }
    return "";
}

void describe(const gpc::Listing& listing, nlohmann::ordered_json& document) {
    document["stamp"] = listing.buildStamp;
    document["code_offset"] = listing.codeOffset;
    document["information"] = {{"title", listing.information.title},
                               {"first", listing.information.first},
                               {"second", listing.information.second},
                               {"author", listing.information.author}};
    document["lines"] = nlohmann::ordered_json::array();
    for (const gpc::ListingLine& line : listing.lines)
        document["lines"].push_back({{"kind", kindName(line.kind)},
                                     {"offset", line.offset},
                                     {"bytes", line.bytes},
                                     {"text", line.text},
                                     {"operands", line.operands},
                                     {"comment", line.comment}});
}

} // namespace

int disassembleCommand(const Options& options) {
    Session session(options);
    if (!session.read(kBytecodeReadLimit))
        return session.finish(kExitUsage);
    const gpc::Listing listing =
        gpc::disassemble({reinterpret_cast<const std::uint8_t*>(session.input.data()), session.input.size()});
    if (!listing.error.empty()) {
        session.fail(shownPath(options.input) + ": " + listing.error);
        return session.finish(kExitFaulty);
    }
    if (options.json && options.output.empty())
        describe(listing, session.document);
    else if (!session.write(options.output.empty() ? std::string(kStandardStream) : options.output,
                            gpc::printListing(listing)))
        return session.finish(kExitUsage);
    return session.finish(kExitFine);
}

} // namespace Vantor::gpctool
