#pragma once

#include <windows.h>

#include <cstdint>
#include <string>

/// What the other process of a test can be told to do. It has one slot for each kind of
/// thing that it can hold.
enum class Command : std::int32_t
{
    TakeReader, ///< unmarshals packet into the reader
    TakeWriter, ///< unmarshals packet into the writer
    TakeImage,  ///< unmarshals packet into the image
    GetReader,  ///< takes the reader from the image
    GetWriter,  ///< takes the writer from the image
    DropReader,
    DropWriter,
    DropImage,
    Address,         ///< value: of the writer's byte, or the reader's, at index
    Peek,            ///< value: the byte at index
    Poke,            ///< sets the byte at index to value
    Invalidate,      ///< rect through the writer
    InvalidateWhole, ///< null through the writer
    Describe,        ///< rect: {0, 0, width, height}; value: the encoding
    Clone,           ///< value: byte index of a clone of the image
    Subscribe,       ///< handler number index to the image, mode value
    Unsubscribe,     ///< handler number index
    Updates,         ///< value: how many updates handler number index had; rect: the last one
    AwaitRectangle,  ///< waits until handler number 0 was last told of rect; value: its updates
    Storm,           ///< invalidates the image's first pixel until the process is killed
    AwaitUpdate,     ///< waits for update number value of handler number index; rect: the last one
    DisposeInternal, ///< the dispose operation of the image's private side
    PassOn,          ///< packet: the image, marshaled within this machine
    MakeImage,       ///< a new image of rect's size
    SendReader,      ///< packet: the reader
    SendWriter,      ///< packet: the writer
    SendRemote,      ///< packet: the image for another machine
    Cycle,           ///< takes and gives back a reader and a writer of the image, index times
    Resources,       ///< value: the process's handles; index: its private bytes
    End,
};

/// What two processes share: one command at a time, and its answer in place.
struct Exchange
{
    Command command;
    HRESULT result;
    std::int64_t index;
    std::int64_t value;
    RECT rect;
    std::uint32_t packetSize;
    std::uint8_t packet[8192];
};

inline std::wstring CommandEvent(const std::wstring& name)
{
    return name + L".command";
}

inline std::wstring AnswerEvent(const std::wstring& name)
{
    return name + L".answer";
}
