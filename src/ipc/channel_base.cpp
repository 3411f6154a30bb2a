#include "ipc/channel_base.h"

#include <cstring>
#include <span>
#include <string_view>
#include <utility>

namespace ipc {
namespace {

// Both sides format object names into a buffer of this many bytes, the terminator included.
constexpr std::size_t kNameBytes = 1024;

std::string ObjectName(const std::string& channelName, std::string_view suffix) {
    std::string name = channelName.substr(0, channelName.find('\0'));  // as the peer formats it: a NUL ends the text
    name += suffix;
    if (name.size() >= kNameBytes) name.resize(kNameBytes - 1);
    return name;
}

template <class Type>
Type* At(std::byte* view, std::size_t offset) {
    return static_cast<Type*>(static_cast<void*>(view + offset));
}

}  // namespace

channel_base::Inside::~Inside() {
    if (m_destroyed || !m_entered) return;
    // Still visiting: the visitor threw. Its slot is lost; the exception ends the process as a rule.
    if (m_visiting) (void)EndVisit();
    m_owner.Leave();
}

void channel_base::Inside::BeginVisit() {
    m_visiting = true;
    m_owner.m_destroyedFlag = &m_destroyed;
    m_owner.m_visitorThread.store(std::this_thread::get_id());
}

bool channel_base::Inside::EndVisit() {
    m_visiting = false;
    if (m_destroyed) return false;
    m_owner.m_visitorThread.store(std::thread::id());
    m_owner.m_destroyedFlag = nullptr;
    return true;
}

channel_base::channel_base(std::int32_t role, const ChannelLayout& layout, platform::KernelObjects& kernelObjects,
                           platform::StandardStreams& streams)
    : m_kernelObjects(kernelObjects), m_streams(streams), m_layout(layout), m_role(role) {}

bool channel_base::OpenObjects(const std::string& name) {
    if (m_closed.load() != 0) return false;
    const std::string mappingName = ObjectName(name, "_shm");
    if (OpenEvents(name)) {
        // Opened before: that mapping goes only when the next one stands, or the messages in it would go along.
        const std::unique_ptr<platform::NamedMapping> earlier = LetGoOfMapping();
        const bool open = AttachMapping(mappingName) || MakeMapping(mappingName);
        if (earlier) earlier->Unmap();
        if (open) return true;
    }
    Close();
    return false;
}

bool channel_base::OpenEvents(const std::string& name) {
    const auto open = [this](std::unique_ptr<platform::NamedEvent>& event, std::string& eventName, std::string next) {
        event.reset();
        eventName = std::move(next);
        event = m_kernelObjects.CreateOrOpenEvent(eventName);
        return event != nullptr;
    };
    return open(m_evtAvail, m_evtAvailName, ObjectName(name, "_evt_avl")) &&
           open(m_evtFilled, m_evtFilledName, ObjectName(name, "_evt_fld"));
}

// Attaches to the mapping that the peer has made. Nothing in it is touched: its lists may hold messages already.
bool channel_base::AttachMapping(const std::string& mappingName) {
    m_mappingSize = m_layout.mappingSize;
    m_mapping = m_kernelObjects.OpenMapping(mappingName, platform::MappingAccess::ReadWrite);
    if (!m_mapping) {
        const auto error = static_cast<std::int32_t>(m_kernelObjects.LastError());
        m_streams.Write(platform::StandardStream::Output, std::to_string(error));
        return false;
    }
    m_view = m_mapping->Map(m_mappingSize);
    if (m_view == nullptr) {
        m_mapping.reset();
        m_mappingSize = 0;
        return false;
    }
    m_header = At<channel_header>(m_view, 0);
    return true;
}

// Comes first and makes the mapping. One that does exist, but could not be attached to, is wiped on purpose: nobody can
// tell what state it is in.
bool channel_base::MakeMapping(const std::string& mappingName) {
    m_mappingSize = m_layout.mappingSize;
    m_mapping = m_kernelObjects.CreateMapping(mappingName, m_layout.mappingSize);
    if (!m_mapping) return false;
    m_view = m_mapping->Map(m_mappingSize);
    if (m_view == nullptr) return false;
    std::memset(m_view, 0, m_layout.mappingSize);
    m_header = At<channel_header>(m_view, 0);
    AtomicWords words = Words();
    InitialiseLists(words);
    return true;
}

std::int32_t channel_base::TakeFreeNode(bool overwriteOldest, std::uint32_t timeoutMs) {
    if (m_closed.load() != 0) {
        m_waitCount.store(0);
        return kNoNode;
    }
    for (;;) {
        if (m_role == kSends && m_header != nullptr) {
            AtomicWords words = Words();
            std::int32_t node = pop(words, List::Free);
            if (node == kNoNode && overwriteOldest) node = pop(words, List::Used);  // the oldest unread message goes
            if (node != kNoNode) return node;
        }

        if (m_waitCount.load() == m_waitCountLimit) (void)m_waitCount.exchange(0);
        m_waitCount.fetch_add(1);
        // Every pass waits the whole time again: stray signals of the event can stretch a Send.
        const bool signalled = m_evtAvail && m_evtAvail->Wait(timeoutMs) == platform::WaitResult::Signalled;
        if (!signalled && timeoutMs != platform::kNoTimeLimit) return kNoNode;

        if (m_closed.load() != 0) {
            m_waitCount.store(0);
            return kNoNode;
        }
    }
}

void channel_base::Publish(std::int32_t node) {
    AtomicWords words = Words();
    push(words, List::Used, node);
    if (m_evtFilled) (void)m_evtFilled->Set();  // refused: the peer finds the message when its own wait runs out
    (void)m_waitCount.exchange(0);
}

std::int32_t channel_base::TakeUsedNode(std::uint32_t timeoutMs) {
    if (m_role != kReceives || m_header == nullptr) return kNoNode;
    AtomicWords words = Words();
    for (;;) {
        const std::int32_t node = pop(words, List::Used);
        if (node != kNoNode) return node;
        if (m_closed.load() == 0) {
            if (!m_evtFilled) return kNoNode;
            if (m_evtFilled->Wait(timeoutMs) != platform::WaitResult::Signalled) return kNoNode;
        }
        if (m_closed.load() != 0) return kNoNode;
    }
}

void channel_base::GiveBack(std::int32_t node) {
    AtomicWords words = Words();
    push(words, List::Free, node);
    if (m_evtAvail) (void)m_evtAvail->Set();
}

std::byte* channel_base::SlotAt(std::int32_t node) const {
    return m_view + m_layout.slots_offset + static_cast<std::size_t>(m_layout.stride) * static_cast<std::size_t>(node);
}

AtomicWords channel_base::Words() const {
    const auto count = static_cast<std::size_t>(m_layout.slotCount);
    return {*m_header, std::span(At<channel_node>(m_view, sizeof(channel_header)), count)};
}

void channel_base::Wake() {
    const Inside inside(*this);  // or the events could go between the test and the signal
    if (!inside || m_closed.exchange(1) != 0) return;
    if (m_evtFilled) (void)m_evtFilled->Set();
    if (m_evtAvail) (void)m_evtAvail->Set();
}

void channel_base::Close() {
    Wake();  // before kClosing: whoever is refused entry then finds m_closed set
    const std::lock_guard lock(m_leaveMutex);
    if (m_inside.fetch_or(kClosing) == 0) ReleaseObjects();
}

void channel_base::Shut() {
    Close();
    // No other thread can store this one's id, so what is read here can't be out of date.
    const bool insideVisitor = m_visitorThread.load() == std::this_thread::get_id();
    std::unique_lock lock(m_leaveMutex);
    const std::uint32_t own = insideVisitor ? 1 : 0;
    m_left.wait(lock, [this, own] { return m_inside.load() == (kClosing | own); });
    if (m_destroyedFlag != nullptr) *m_destroyedFlag = true;  // only ever set here when insideVisitor
    if (insideVisitor) ReleaseObjects();                      // its Receive won't come to leave any more
}

bool channel_base::Enter() {
    std::uint32_t inside = m_inside.load();
    while ((inside & kClosing) == 0) {
        if (m_inside.compare_exchange_weak(inside, inside + 1)) return true;
    }
    return false;
}

void channel_base::Leave() {
    // While nobody closes, this one exchange is the last touch: the destructor may run right behind it.
    std::uint32_t inside = m_inside.load();
    while ((inside & kClosing) == 0) {
        if (m_inside.compare_exchange_weak(inside, inside - 1)) return;
    }
    // Otherwise a destructor may be waiting, and it goes on only once the lock is free again.
    const std::lock_guard lock(m_leaveMutex);
    if (m_inside.fetch_sub(1) == (kClosing | 1)) ReleaseObjects();
    m_left.notify_all();
}

// Harmless when repeated. Nobody is inside, or only a visitor that knows that it may touch nothing any more.
void channel_base::ReleaseObjects() {
    m_evtFilled.reset();
    m_evtFilledName.clear();
    m_evtAvail.reset();
    m_evtAvailName.clear();
    const bool mapped = m_view != nullptr;
    const std::unique_ptr<platform::NamedMapping> mapping = LetGoOfMapping();
    if (mapped) mapping->Unmap();
}

// Forgets the mapping and what points into it, and hands it to the caller; null when there is none.
std::unique_ptr<platform::NamedMapping> channel_base::LetGoOfMapping() {
    m_view = nullptr;
    m_mappingSize = 0;
    m_header = nullptr;
    return std::move(m_mapping);
}

}  // namespace ipc
