#include "jack/JackServer.h"

#ifdef OSTREL_HAS_JACK

#include <jack/jack.h>

#include <chrono>
#include <thread>

using namespace std::chrono_literals;
using std::chrono::steady_clock;

namespace midi
{

std::unique_ptr<JackServer> JackServer::connect(const std::string &clientName)
{
    constexpr int Attempts = 3; // a busy server turns some clients away
    // The library prints what it says otherwise, also that there is no server.
    jack_set_error_function([](const char *) {});
    jack_set_info_function([](const char *) {});
    jack_client_t *client = nullptr;
    jack_status_t status{};
    for (int i = 0; !client && (status & JackServerFailed) == 0 && i < Attempts; ++i)
        client = jack_client_open(clientName.c_str(), JackNoStartServer, &status);
    return client ? std::unique_ptr<JackServer>(new JackServer(client)) : nullptr;
}

JackServer::JackServer(jack_client_t *client)
    : m_client(client)
{
    // Both are called on threads of JACK's.
    const auto end = [](void *self) { static_cast<JackServer *>(self)->m_gone = true; };
    const auto count = [](void *self) {
        ++static_cast<JackServer *>(self)->m_changes;
        return 0;
    };
    jack_on_shutdown(client, end, this);
    // Where the server does not tell of changes, 20 ms have to do.
    if (jack_set_graph_order_callback(client, count, this) == 0)
        jack_activate(client);
}

JackServer::~JackServer()
{
    jack_client_close(m_client);
}

void JackServer::waitForQuiet() const
{
    const auto begin = steady_clock::now();
    auto lastChange = begin;
    unsigned seen = m_changes;
    for (auto now = begin; !m_gone && now - lastChange < 20ms && now - begin < 500ms;
         now = steady_clock::now()) {
        std::this_thread::sleep_for(1ms);
        const unsigned changes = m_changes;
        if (changes != seen)
            lastChange = steady_clock::now();
        seen = changes;
    }
}

} // namespace midi

#else

std::unique_ptr<midi::JackServer> midi::JackServer::connect(const std::string &)
{
    return nullptr;
}
midi::JackServer::~JackServer() = default;
void midi::JackServer::waitForQuiet() const {}

#endif
