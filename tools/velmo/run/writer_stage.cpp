#include "velmo_run/writer_stage.h"

#include <exception>

namespace velmo_run {

void WriteFrames(FrameWriter& writer, FrameBelt& belt, StopSign& stop) {
    constexpr std::chrono::milliseconds kLook{1000};
    try {
        for (;;) {
            const FrameBelt::Look look = belt.Await(Stage::Write, kLook);
            if (look == FrameBelt::Look::Ended) break;
            if (look == FrameBelt::Look::NotYet) continue;
            writer.Write(belt.Next(Stage::Write));
            belt.Complete(Stage::Write);
        }
    } catch (const std::exception& error) {
        stop.Raise(error.what());
    }
    // What could be written is finished in any case: a file that ends with a whole frame can be looked at.
    try {
        writer.Finish();
    } catch (const std::exception& error) {
        stop.Raise(error.what());
    }
    belt.Close(Stage::Write);
}

}  // namespace velmo_run
