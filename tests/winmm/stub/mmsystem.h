#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cwchar>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

// As much of Windows' headers as the MIDI library's code for WinMM names, under Windows' names.

#define UNICODE
#define CALLBACK

typedef std::uint32_t DWORD, UINT, MMRESULT;
typedef std::uintptr_t DWORD_PTR, HMIDIIN, HMIDIOUT;
typedef wchar_t WCHAR, TCHAR;
typedef char *LPSTR;
typedef std::recursive_mutex CRITICAL_SECTION;

struct MIDIHDR
{
    LPSTR lpData;
    DWORD dwBufferLength, dwBytesRecorded, dwFlags;
    DWORD_PTR dwUser;
};
typedef MIDIHDR *LPMIDIHDR;

typedef struct
{
    TCHAR szPname[32];
} MIDIINCAPS, MIDIOUTCAPS;

constexpr DWORD CP_UTF8 = 65001, MMSYSERR_NOERROR = 0, MMSYSERR_ALLOCATED = 4,
                MMSYSERR_INVALHANDLE = 5, MMSYSERR_NODRIVER = 6, MIDIERR_STILLPLAYING = 65,
                CALLBACK_NULL = 0, CALLBACK_FUNCTION = 0x30000, MIM_DATA = 0x3C3,
                MIM_LONGDATA = 0x3C4, MIM_LONGERROR = 0x3C6;

/// For ASCII. Counts the terminating zero, and only counts when `to` is null.
inline int WideCharToMultiByte(UINT, DWORD, const WCHAR *from, int, char *to, int, char *, bool *)
{
    const auto length = static_cast<int>(std::wcslen(from) + 1);
    if (to)
        std::copy_n(from, length, to);
    return length;
}

constexpr auto InitializeCriticalSectionAndSpinCount = [](CRITICAL_SECTION *, int) { return true; };
constexpr auto DeleteCriticalSection = [](CRITICAL_SECTION *) {};
constexpr auto EnterCriticalSection = [](CRITICAL_SECTION *section) { section->lock(); };
constexpr auto LeaveCriticalSection = [](CRITICAL_SECTION *section) { section->unlock(); };
constexpr auto Sleep = [](DWORD ms) { std::this_thread::sleep_for(std::chrono::milliseconds(ms)); };

// What FakeWinMM does for the calls below.
enum class Way { In, Out };
std::vector<std::wstring> portNames(Way way);
MMRESULT openPort(Way way, UINT number, DWORD_PTR callback, DWORD_PTR user, DWORD_PTR &handle);
MMRESULT closePort(DWORD_PTR handle);

constexpr auto midiInGetNumDevs = [] { return portNames(Way::In).size(); };
constexpr auto midiInGetDevCaps = [](DWORD_PTR number, MIDIINCAPS *caps, UINT) {
    std::wcscpy(caps->szPname, portNames(Way::In).at(number).c_str());
};
constexpr auto midiInOpen = [](HMIDIIN *handle, UINT number, DWORD_PTR call, DWORD_PTR user,
                               DWORD) { return openPort(Way::In, number, call, user, *handle); };
constexpr auto midiInPrepareHeader = [](HMIDIIN, LPMIDIHDR, UINT) { return MMSYSERR_NOERROR; };
MMRESULT midiInAddBuffer(HMIDIIN handle, LPMIDIHDR buffer, UINT);
constexpr auto midiInStart = [](HMIDIIN) { return MMSYSERR_NOERROR; };
constexpr auto midiInReset = midiInStart;
constexpr auto midiInStop = midiInStart;
MMRESULT midiInUnprepareHeader(HMIDIIN handle, LPMIDIHDR buffer, UINT);
constexpr auto midiInClose = closePort;

constexpr auto midiOutGetNumDevs = [] { return portNames(Way::Out).size(); };
constexpr auto midiOutGetDevCaps = [](DWORD_PTR number, MIDIOUTCAPS *caps, UINT) {
    std::wcscpy(caps->szPname, portNames(Way::Out).at(number).c_str());
};
constexpr auto midiOutOpen = [](HMIDIOUT *handle, UINT number, DWORD, DWORD, DWORD) {
    return openPort(Way::Out, number, 0, 0, *handle);
};
constexpr auto midiOutPrepareHeader = midiInPrepareHeader;
MMRESULT midiOutLongMsg(HMIDIOUT handle, LPMIDIHDR message, UINT);
constexpr auto midiOutUnprepareHeader = midiOutPrepareHeader;
constexpr auto midiOutShortMsg = [](HMIDIOUT, DWORD) { return MMSYSERR_NOERROR; };
constexpr auto midiOutClose = closePort;
