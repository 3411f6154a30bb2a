#pragma once

#include <string>

#include "ipc/records/log_records.h"
#include "velmo_parent/log_line.h"

namespace velmo_parent {

// Puts the chunks of the log channel together again.
// Thread: one at a time.
class LogLineAssembler {
 public:
    // Takes the next chunk; true when it completes a line. A chunk that can't be is dropped, with what there was of its
    // line, and told by Damage. It may lie in shared memory: its words are read once, and nothing outside it.
    bool Take(const calyr_ipc::IpcLogChunk& chunk);

    // The line, after a Take that was true; valid until the next one. A line that doesn't begin with "[pid:tid] " has
    // both ids 0 and its whole text.
    const LogLine& Line() const { return m_line; }

    // What was wrong at the last Take; "" when nothing was. A line can be complete all the same: when the one before it
    // never ended.
    const std::string& Damage() const { return m_damage; }

    // True while a line has begun and its last chunk has not come.
    bool InsideLine() const { return m_insideLine; }

 private:
    bool Refuse(std::string damage);

    LogLine m_line;
    std::string m_damage;
    bool m_insideLine = false;
};

}  // namespace velmo_parent
