#pragma once

#include <windows.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>

/// What one consumer is handed, and what it shows of itself.
struct Slot
{
    std::uint32_t imageSize;
    std::uint32_t readerSize; ///< 0: the consumer asks the image for its reader
    std::array<std::uint8_t, 4096> image;
    std::array<std::uint8_t, 4096> reader;
    volatile LONG updates; ///< how many it was told of
    volatile LONG stamp;   ///< the last stamp in its pixels
};

constexpr int mostConsumers = 8;

/// What all processes of a soak share beside the image.
struct Board
{
    long width;
    long height;
    std::array<Slot, mostConsumers> slots;
};

// The producer's last writes are stamps in the first pixels, numbered from 1. No other
// write leaves such bytes there.
constexpr std::array<std::uint8_t, 15> stampMark = {'t', 'h', 'e', 0,   'e', 'n', 'd', 0,
                                                    'i', 's', 0,   'n', 'e', 'a', 'r'};
constexpr long stampBytes = 16;

inline void WriteStamp(std::uint8_t* pixels, std::uint8_t number)
{
    std::memcpy(pixels, stampMark.data(), stampMark.size());
    pixels[stampMark.size()] = number;
}

/// 0 where there is none.
inline LONG StampIn(const std::uint8_t* pixels)
{
    return std::memcmp(pixels, stampMark.data(), stampMark.size()) == 0 ? pixels[stampMark.size()] : 0;
}

inline void Check(HRESULT hr, const char* what)
{
    if (FAILED(hr)) {
        char text[200];
        std::snprintf(text, sizeof(text), "%s: 0x%08lx", what, static_cast<unsigned long>(hr));
        throw std::runtime_error(text);
    }
}

// The names of what the processes share.

inline std::wstring ReadyEvent(const std::wstring& soak, int consumer)
{
    return soak + L".ready." + std::to_wstring(consumer);
}

inline std::wstring EndEvent(const std::wstring& soak)
{
    return soak + L".end";
}

/// A consumer's own pixels.
inline std::wstring CopySection(const std::wstring& soak, int consumer)
{
    return soak + L".copy." + std::to_wstring(consumer);
}

/// The consumer's whole program, in a process of its own; its exit code.
int Consume(const std::wstring& soak, int consumer, DWORD producer);
