#pragma once

/// For as long as it lives, the thread gets no memory from `new`, not even for the first exception
/// that it throws, which needs some: the constructor throws one. The test program gets an
/// `operator new` of its own by this.
class NoMemory
{
public:
    NoMemory();
    ~NoMemory();
    NoMemory(const NoMemory&) = delete;
    NoMemory& operator=(const NoMemory&) = delete;
};
