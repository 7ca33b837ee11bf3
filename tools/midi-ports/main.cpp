// midi-ports            lists the ports as the editor sees them
// midi-ports IN OUT     asks who answers there, and prints what comes within half a second
#include "midi/backend/Backend.h"
#include "midi/protocol/Messages.h"

#include <chrono>
#include <cstdio>
#include <thread>

namespace
{

void print(const char *direction, const std::vector<midi::Port> &ports)
{
    for (const midi::Port &port : ports)
        std::printf("%s %u: %s\n", direction, port.number, port.reported.c_str());
}

/// "F0 00 01 …"
void print(const midi::ByteMessage &message)
{
    for (const unsigned byte : message)
        std::printf("%02X ", byte);
    std::puts("");
}

int fail(const std::string &reason)
{
    std::fprintf(stderr, "%s\n", reason.c_str());
    return 1;
}

} // namespace

int main(int argc, char **argv)
{
    midi::ErrorText error;
    const auto backend = midi::Backend::make(
        {}, [](const midi::ByteMessage &message) { print(message); }, error);
    if (!error.empty())
        std::fprintf(stderr, "%s\n", error.c_str());
    if (!backend)
        return 1;
    midi::PortLists ports;
    error = backend->listPorts(ports);
    if (!error.empty())
        return fail(error);
    if (argc != 3) {
        std::printf("%s\n", backend->name().c_str());
        print("in", ports.inputs);
        print("out", ports.outputs);
        return 0;
    }
    const std::vector<midi::PortPair> pairs = midi::findPairs(ports, argv[1], argv[2]);
    if (pairs.empty())
        return fail("no such pair of ports");
    if (error = backend->open(pairs[0].input, pairs[0].output); !error.empty())
        return fail(error);
    if (error = backend->send(midi::identityRequest()); !error.empty())
        return fail(error);
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    return 0;
}
