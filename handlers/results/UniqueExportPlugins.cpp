#include "handlers/results/UniqueExportPlugins.h"

#include <cstddef>
#include <optional>
#include <utility>

#include "Core/src/RequiredValues.h"
#include "Core/src/Vocabulary.h"

namespace Weftline::Services::Scheduler {

using CoreServices::Parameters;

namespace {

std::optional<std::vector<Parameters>> ReadPlugins(const Parameters& worker) {
    std::vector<Parameters> plugins(worker.GetArrayNumValues(Keys::ExportPlugins));
    for (std::size_t n = 0; n < plugins.size(); ++n) {
        if (!worker.GetArrayNthChildParameters(Keys::ExportPlugins, n, plugins[n])) {
            return std::nullopt;
        }
    }
    return plugins;
}

}  // namespace

UniqueExportPlugins::UniqueExportPlugins(std::string typeFilter) : m_typeFilter(std::move(typeFilter)) {}

void UniqueExportPlugins::AddWorker(const Parameters& worker) {
    const auto plugins = ReadPlugins(worker);
    if (!plugins) {
        return;
    }
    for (const Parameters& plugin : *plugins) {
        AddPlugin(plugin);
    }
}

void UniqueExportPlugins::AddPlugin(const Parameters& plugin) {
    if (!m_typeFilter.empty() && GetRequiredString(plugin, Keys::Type) != m_typeFilter) {
        return;
    }
    if (m_seen.insert(GetRequiredString(plugin, Keys::PluginGuid)).second) {
        m_plugins.push_back(plugin);
    }
}

Parameters UniqueExportPlugins::MakeAnswer() const {
    Parameters answer;
    for (const Parameters& plugin : m_plugins) {
        answer.AddArrayChildParameters(Keys::ExportPlugins, plugin);
    }
    return answer;
}

}  // namespace Weftline::Services::Scheduler
