// A tree from JSON: read, copied, printed, read back, changed and destroyed.

#include <cstdint>
#include <stdexcept>
#include <string>

#include "base/parameters/Parameters.h"
#include "fuzz/FuzzTarget.h"

namespace Fuzzing {

namespace {

using CoreServices::Parameters;

// The same tree by way of its keys. Reads each value as every type meanwhile.
Parameters CopyByKeys(const Parameters& tree) {
    Parameters copy;
    for (const std::string& name : tree.GetTopLevelParameterNames()) {
        std::string text;
        std::int32_t integer = 0;
        double real = 0;
        bool truth = false;
        Parameters child;
        const int types = int{tree.GetParameter(name, text)} + int{tree.GetParameter(name, integer)} +
                          int{tree.GetParameter(name, real)} + int{tree.GetParameter(name, truth)} +
                          int{tree.GetChildParameters(name, child)};
        Check(types <= 1, "a value has one type, or is null");
        Check(copy.CopyValue(tree, name, name), "a key that is listed is there");
        for (std::size_t n = 0; n < tree.GetArrayNumValues(name); ++n) {
            tree.GetArrayNthValue(name, n, text);
            child = tree.GetArrayNthChildParameters(name, n);
        }
    }
    return copy;
}

}  // namespace

void RunOne(std::string_view input) {
    Parameters tree;
    try {
        tree = Parameters::fromJSON(input);
    } catch (const std::runtime_error& error) {
        Check(std::string_view(error.what()).starts_with("JSON: byte "), "an error names the place");
        return;
    }
    const std::string json = tree.toJSON();
    const Parameters again = Parameters::fromJSON(json);
    Check(again == tree && again.toJSON() == json, "what is written reads back as the same");
    Check(Parameters::fromJSON(tree.debugString()) == tree, "so does what people are shown");
    Check(tree.IsArray() || CopyByKeys(tree) == tree, "a tree copied key by key is the same");
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
