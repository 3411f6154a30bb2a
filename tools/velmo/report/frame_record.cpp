#include "velmo_report/frame_record.h"

namespace velmo_report {

const char* NameOf(FrameOutcome outcome) {
    switch (outcome) {
        case FrameOutcome::Inferred:
            return "inferred";
        case FrameOutcome::Reused:
            return "reused";
        case FrameOutcome::NoMask:
            return "no mask";
        case FrameOutcome::Lost:
            break;
    }
    return "lost";
}

}  // namespace velmo_report
