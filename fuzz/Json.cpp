// A tree from JSON: read, copied, printed, read back, changed and destroyed.

#include <stdexcept>
#include <string>

#include "base/parameters/Parameters.h"
#include "fuzz/FuzzTarget.h"

namespace Fuzzing {

using CoreServices::Parameters;

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
