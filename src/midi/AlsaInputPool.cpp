#include "midi/AlsaInputPool.h"

#ifdef __linux__

#include <sound/asequencer.h>
#include <sys/ioctl.h>

#include <charconv>
#include <filesystem>
#include <string>
#include <system_error>

namespace midi
{
namespace
{

constexpr char SequencerDevice[] = "/dev/snd/seq";
/// Of 28 bytes; the most that the kernel allows is 1000. A frame takes 360 of them.
constexpr int PoolCells = 1000;

void enlargePool(int sequencer)
{
    snd_seq_client_pool pool{};
    if (ioctl(sequencer, SNDRV_SEQ_IOCTL_CLIENT_ID, &pool.client) != 0 ||
        ioctl(sequencer, SNDRV_SEQ_IOCTL_GET_CLIENT_POOL, &pool) != 0 ||
        pool.input_pool >= PoolCells)
        return;
    pool.input_pool = PoolCells;
    // Without it, long messages are lost only where the program is held up.
    static_cast<void>(ioctl(sequencer, SNDRV_SEQ_IOCTL_SET_CLIENT_POOL, &pool));
}

} // namespace

// The MIDI library does not show its clients, but the kernel shows the files that are open.
void enlargeAlsaInputPools()
{
    namespace fs = std::filesystem;
    std::error_code failure;
    for (fs::directory_iterator entry("/proc/self/fd", failure), end; !failure && entry != end;
         entry.increment(failure)) {
        std::error_code closed;
        if (fs::read_symlink(entry->path(), closed) != SequencerDevice)
            continue;
        const std::string name = entry->path().filename().string();
        int descriptor = 0;
        std::from_chars(name.data(), name.data() + name.size(), descriptor);
        enlargePool(descriptor);
    }
}

} // namespace midi

#else

void midi::enlargeAlsaInputPools() {}

#endif
