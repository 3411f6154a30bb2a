#include "velmo_report/run_report.h"

namespace velmo_report {

const char* NameOf(RunState state) {
    switch (state) {
        case RunState::Complete:
            return "complete";
        case RunState::Interrupted:
            return "interrupted";
        case RunState::Failed:
            break;
    }
    return "failed";
}

}  // namespace velmo_report
