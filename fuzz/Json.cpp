// A tree from JSON: read, copied, printed, read back, changed and destroyed.

#include <iterator>
#include <stdexcept>
#include <string>

#include "base/parameters/JsonTexts.h"
#include "base/parameters/Parameters.h"
#include "fuzz/FuzzTarget.h"
#include "tests/parameters/CountedMemory.h"

namespace Fuzzing {

using CoreServices::Parameters;

void RunOne(std::string_view input) {
    constexpr std::string_view kKeys[] = {"a", "k", ""};
    std::string texts[std::size(kKeys)];
    const bool isJson = CoreServices::ReadTextsOfJson(input, kKeys, texts);
    const TestSupport::CountedMemory memory;
    const auto checkMemory = [&] {
        Check(memory.Peak() <= Parameters::MostMemoryOf(input), "no more memory is taken than was said");
    };
    Parameters tree;
    try {
        tree = Parameters::fromJSON(input);
        checkMemory();
    } catch (const std::runtime_error& error) {
        checkMemory();
        Check(std::string_view(error.what()).starts_with("JSON: byte "), "an error names the place");
        Check(!isJson, "what is no tree has no texts");
        return;
    }
    for (std::size_t n = 0; n < std::size(kKeys); ++n) {
        std::string text;
        tree.GetParameter(kKeys[n], text);
        Check(isJson && texts[n] == text, "texts that are read alone are those of the tree");
    }
    const std::string json = tree.toJSON();
    const Parameters again = Parameters::fromJSON(json);
    Check(again == tree && again.toJSON() == json, "what is written reads back as the same");
    Check(Parameters::fromJSON(tree.debugString()) == tree, "so does what people are shown");
    Parameters changed = tree;
    for (const std::string& name : tree.GetTopLevelParameterNames()) {
        changed.AddArrayParameter(name, "more");
        changed.AddArrayChildParameters(name, tree);
        changed.ClearParameter(name);
    }
    Check(changed.IsEmpty() || tree.IsArray(), "keys that were removed are gone");
    Check(tree.toJSON() == json, "a tree does not change with its copy");
}

}  // namespace Fuzzing
