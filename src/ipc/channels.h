#pragma once

#include <cstdint>

#include "ipc/channel.h"
#include "ipc/records/command_records.h"
#include "ipc/records/event_records.h"
#include "ipc/records/frame_records.h"
#include "ipc/records/log_records.h"
#include "platform/kernel_objects.h"

// The five channels between this process and its parent. A channel's name is the link's id with the suffix behind it.
namespace calyr_ipc {

using CommandChannel = ipc::channel<CommandSlot, 32>;  // parent to process
using InputChannel = ipc::channel<InputSlot, 5>;       // parent to process
using EventChannel = ipc::channel<EventSlot, 32>;      // process to parent
using OutputChannel = ipc::channel<OutputSlot, 5>;     // process to parent
using LogChannel = ipc::channel<IpcLogChunk, 30>;      // process to parent

inline constexpr char kCommandSuffix[] = "C";
inline constexpr char kInputSuffix[] = "FI";
inline constexpr char kEventSuffix[] = "E";
inline constexpr char kOutputSuffix[] = "FO";
inline constexpr char kLogSuffix[] = "L";

// How long this process waits on each, in milliseconds.
inline constexpr std::uint32_t kCommandReceiveTimeoutMs = 1000;
inline constexpr std::uint32_t kInputReceiveTimeoutMs = 5000;
inline constexpr std::uint32_t kEventSendTimeoutMs = 500;
inline constexpr std::uint32_t kOutputSendTimeoutMs = 500;
inline constexpr std::uint32_t kLogSendTimeoutMs = platform::kNoTimeLimit;  // log lines are never dropped

namespace detail {

constexpr bool IsLaidOut(const ipc::ChannelLayout& layout, std::uint32_t slotsOffset, std::uint32_t stride,
                         std::uint32_t mappingSize) {
    return layout.slots_offset == slotsOffset && layout.stride == stride && layout.mappingSize == mappingSize;
}

}  // namespace detail

static_assert(detail::IsLaidOut(CommandChannel::kLayout, 408, 3100, 99608));
static_assert(detail::IsLaidOut(EventChannel::kLayout, 408, 20, 1048));
static_assert(detail::IsLaidOut(InputChannel::kLayout, 88, 691248, 3456328));
static_assert(detail::IsLaidOut(OutputChannel::kLayout, 88, 1491000, 7455088));
static_assert(detail::IsLaidOut(LogChannel::kLayout, 384, 512, 15744));

}  // namespace calyr_ipc
