#pragma once

namespace velmo_parent {

// What a writer has to say at its end.
enum class Writing {
    Done,      // the message is complete: send it
    Declined,  // send nothing
};

}  // namespace velmo_parent
