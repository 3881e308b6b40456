// A value that several threads may access without a lock: flags, counters, limits.
//
// Reads and writes are atomic and relaxed. Unlike std::atomic it is trivially copyable, so records with
// such members can be copied as a block while no other thread accesses them.
#pragma once

#include <atomic>

namespace tarvonel
{

template <typename T> struct relaxed
{
    T plain{};

    relaxed() = default;
    constexpr relaxed(T value) : plain(value) {}

    T load() const { return std::atomic_ref<T>(const_cast<T &>(plain)).load(std::memory_order_relaxed); }
    void store(T value) { std::atomic_ref<T>(plain).store(value, std::memory_order_relaxed); }

    operator T() const { return load(); }
    T operator=(T value)
    {
        store(value);
        return value;
    }

    /// Adds without a locked instruction, so only one thread may write.
    T add(T amount)
    {
        const T sum = static_cast<T>(load() + amount);
        store(sum);
        return sum;
    }
};

} // namespace tarvonel
