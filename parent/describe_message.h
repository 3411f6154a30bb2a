#pragma once

#include <string>

#include "ipc/channels.h"

// One message of each channel in words for a person, on one line. The slot may lie in a live mapping, also a read-only
// one: each word is read once, no text beyond its field, and what can't be is said to be so. Bytes of texts that don't
// print are shown as "\xHH". Thread: any.
namespace velmo_parent {

std::string Describe(const calyr_ipc::CommandSlot& slot);
std::string Describe(const calyr_ipc::InputSlot& slot);
std::string Describe(const calyr_ipc::EventSlot& slot);
std::string Describe(const calyr_ipc::OutputSlot& slot);
std::string Describe(const calyr_ipc::IpcLogChunk& chunk);

}  // namespace velmo_parent
