#include "velmo_run/output_check.h"

#include <algorithm>
#include <string>
#include <vector>

#include "velmo_media/media_error.h"
#include "velmo_run/open_media.h"
#include "velmo_run/run_error.h"

namespace velmo_run {

void CheckOutputs(const RunOptions& options) {
    const auto isPath = [](const std::string& output) { return !output.empty() && output != "-"; };
    std::vector<std::string> files = {options.report, options.json, options.csv, options.sheet};
    if (std::ranges::find(files, "-") != files.end()) {
        throw UsageError("pictures alone go to standard output: name a file for the rest");
    }
    for (const std::string& output : {options.output, options.masks}) {
        try {
            if (!output.empty() && SinkKindOf(output) == SinkKind::Y4m) files.push_back(output);
        } catch (const velmo_media::MediaError& error) {
            throw UsageError(error.what());
        }
    }
    const std::vector<std::string> outputs = {options.output, options.masks, options.report,
                                              options.json,   options.csv,   options.sheet};
    for (auto output = outputs.begin(); output != outputs.end(); ++output) {
        if (output->empty()) continue;
        const bool isTaken = std::any_of(outputs.begin(), output, [&](const std::string& other) {
            return *output == other || (isPath(other) && IsSamePlace(*output, other));
        });
        if (isTaken) throw UsageError("two outputs can't go to the same place, " + *output);
        if (IsSamePlace(options.input, *output)) throw UsageError("the input can't be an output, " + *output);
        CheckOverwriting(*output, MayOverwrite(options));
    }
    for (const std::string& file : files) {
        if (isPath(file) && !HasFolder(file)) throw RunError("can't write " + file + ": its folder is not there");
    }
}

}  // namespace velmo_run
