// Any text either parses, and then gives back every byte and lets every
// edit touch only its own lines, or fails with a line that exists.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "common/EditProperty.h"
#include "support/EditableYAML.h"
#include "support/Text.h"

namespace {

// Edits per input, so that a large input still runs at a useful speed; the
// input's first byte picks which of them.
constexpr std::size_t kEditsPerInput = 48;

[[noreturn]] void fail(const std::string& what) {
    std::fprintf(stderr, "%s\n", what.c_str());
    std::abort();
}

void checkRefusal(std::string_view text, const std::string& reason) {
    // "line {n}: ..." with n a line of the text.
    if (!reason.starts_with("line ")) fail("a refusal without a line: " + reason);
    const std::size_t colon = reason.find(':');
    const auto line = vorn::Text::decimalInteger(std::string_view(reason).substr(5, colon - 5));
    const auto lineCount = vorn::Text::split(text, '\n').size();
    if (!line || *line < 1 || static_cast<std::size_t>(*line) > lineCount) {
        fail("a refusal naming a line that isn't there: " + reason);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto document = vorn::EditableYAML::parse(text);
    if (!document) {
        checkRefusal(text, document.error().reason);
        return 0;
    }
    if (document->text() != (text.empty() ? std::string_view("\n") : text)) {
        fail("the text didn't come back byte for byte");
    }
    const auto cases = vorn::testing::editCasesFor(*document);
    const std::size_t stride = cases.size() / kEditsPerInput + 1;
    const std::size_t offset = size > 0 ? data[0] % stride : 0;
    for (std::size_t index = offset; index < cases.size(); index += stride) {
        if (const auto problem = vorn::testing::checkEditCase(*document, cases[index], false)) {
            fail(*problem);
        }
    }
    return 0;
}
