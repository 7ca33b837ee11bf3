#include "winmm/FakeWinMM.h"

#include "simulator/SimulatedBox.h"

#include <mmsystem.h>

#include <bit>
#include <condition_variable>
#include <deque>
#include <map>
#include <memory>
#include <optional>

namespace
{

struct Box
{
    std::unique_ptr<simulator::SimulatedBox> core;
    unsigned inputs;
    unsigned outputs;
    bool plugged = true;
};

struct Port
{
    Way way = Way::Out;
    Box *box = nullptr; ///< none: the synthesizer
    unsigned number = 0;

    bool operator==(const Port &) const = default;
};

using Callback = void (*)(HMIDIIN, UINT, DWORD_PTR, DWORD_PTR, DWORD);

struct OpenPort
{
    Port port;
    Callback callback = nullptr; ///< of an input
    DWORD_PTR user = 0;
    std::deque<LPMIDIHDR> buffers{};
};

struct System
{
    std::vector<Port> ports(Way way)
    {
        std::vector<Port> all(way == Way::Out ? 1 : 0);
        for (Box &box : boxes) {
            const unsigned count = way == Way::In ? box.inputs : box.outputs;
            for (unsigned i = 0; box.plugged && i < count; ++i)
                all.push_back({way, &box, i});
        }
        return all;
    }

    [[nodiscard]] auto findOpen(const Port &port)
    {
        return std::ranges::find(open, port, [](const auto &entry) { return entry.second.port; });
    }

    /// What finds no open input, or no buffer, is lost.
    void deliver(const std::stop_token &stop)
    {
        std::unique_lock lock(guard);
        while (changed.wait(lock, stop, [this] { return !arrivals.empty(); })) {
            auto &[port, rest] = arrivals.front();
            const auto input = findOpen(port);
            if (rest.empty() || input == open.end() || input->second.buffers.empty()) {
                arrivals.pop_front();
                continue;
            }
            const OpenPort target = input->second; // a copy, since an unplug may take it
            const LPMIDIHDR buffer = target.buffers.front();
            input->second.buffers.pop_front();
            buffer->dwBytesRecorded =
                std::min(static_cast<DWORD>(rest.size()), buffer->dwBufferLength);
            std::copy_n(rest.begin(), buffer->dwBytesRecorded, buffer->lpData);
            rest.erase(rest.begin(), rest.begin() + buffer->dwBytesRecorded);
            calledHandle = input->first;
            lock.unlock();
            target.callback(calledHandle, MIM_LONGDATA, target.user, DWORD_PTR(buffer), 0);
            lock.lock();
            calledHandle = 0;
            changed.notify_all();
        }
    }

    std::mutex guard; ///< of all below; not held while the library's callback runs
    std::condition_variable_any changed;
    std::deque<Box> boxes;
    std::map<DWORD_PTR, OpenPort> open; ///< by handles, none of which is used twice
    DWORD_PTR lastHandle = 0;
    DWORD_PTR calledHandle = 0; ///< whose callback runs
    std::deque<std::pair<Port, midi::ByteMessage>> arrivals;
    std::jthread thread{[this](const std::stop_token &stop) { deliver(stop); }};
};

std::optional<System> current;

} // namespace

void fakewinmm::reset()
{
    current.emplace();
}

void fakewinmm::addBox(std::string_view script, unsigned inputs, unsigned outputs)
{
    simulator::BoxProfile profile;
    profile.script.assign(script.begin(), script.end());
    const std::scoped_lock lock(current->guard);
    auto core = std::make_unique<simulator::SimulatedBox>(std::move(profile));
    current->boxes.push_back({std::move(core), inputs, outputs});
}

void fakewinmm::setPlugged(std::size_t index, bool plugged)
{
    const std::scoped_lock lock(current->guard);
    Box &box = current->boxes.at(index);
    box.plugged = plugged;
    std::erase_if(current->open, [&](const auto &entry) { return entry.second.port.box == &box; });
    std::erase_if(current->arrivals, [&](const auto &entry) { return entry.first.box == &box; });
}

std::vector<std::wstring> portNames(Way way)
{
    const std::scoped_lock lock(current->guard);
    std::vector<std::wstring> names;
    for (const Port &port : current->ports(way)) {
        names.emplace_back(port.box ? L"Ostrel" : L"Microsoft GS Wavetable Synth");
        if (port.number > 0)
            names.back() = (way == Way::In ? L"MIDIIN" : L"MIDIOUT") +
                           std::to_wstring(port.number + 1) + L" (Ostrel)";
    }
    return names;
}

MMRESULT openPort(Way way, UINT number, DWORD_PTR callback, DWORD_PTR user, DWORD_PTR &handle)
{
    const std::scoped_lock lock(current->guard);
    const Port port = current->ports(way).at(number);
    if (way == Way::In && current->findOpen(port) != current->open.end())
        return MMSYSERR_ALLOCATED;
    handle = ++current->lastHandle;
    current->open[handle] = {port, std::bit_cast<Callback>(callback), user};
    return MMSYSERR_NOERROR;
}

/// Returns when the callback of an input runs no more.
MMRESULT closePort(DWORD_PTR handle)
{
    std::unique_lock lock(current->guard);
    current->changed.wait(lock, [handle] { return current->calledHandle != handle; });
    return current->open.erase(handle) > 0 ? MMSYSERR_NOERROR : MMSYSERR_INVALHANDLE;
}

MMRESULT midiInAddBuffer(HMIDIIN handle, LPMIDIHDR buffer, UINT)
{
    const std::scoped_lock lock(current->guard);
    if (!current->open.contains(handle))
        return MMSYSERR_INVALHANDLE;
    current->open[handle].buffers.push_back(buffer);
    return MMSYSERR_NOERROR;
}

MMRESULT midiInUnprepareHeader(HMIDIIN handle, LPMIDIHDR buffer, UINT)
{
    const std::scoped_lock lock(current->guard);
    if (!current->open.contains(handle))
        return MMSYSERR_INVALHANDLE;
    std::erase(current->open[handle].buffers, buffer);
    return MMSYSERR_NOERROR;
}

MMRESULT midiOutLongMsg(HMIDIOUT handle, LPMIDIHDR message, UINT)
{
    const std::scoped_lock lock(current->guard);
    if (!current->open.contains(handle))
        return MMSYSERR_NODRIVER;
    const Port &port = current->open[handle].port;
    if (!port.box || port.number + 1 < port.box->outputs)
        return MMSYSERR_NOERROR;
    const midi::ByteMessage bytes(message->lpData, message->lpData + message->dwBufferLength);
    for (midi::ByteMessage &reply : port.box->core->receive(bytes).replies)
        current->arrivals.emplace_back(Port{Way::In, port.box, port.box->inputs - 1}, reply);
    current->changed.notify_all();
    return MMSYSERR_NOERROR;
}
