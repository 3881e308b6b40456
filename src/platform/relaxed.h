// A value that several threads may touch without a lock: flags, counters, limits.
//
// Reads and writes are whole and in relaxed order; nothing else is promised. Unlike a standard
// atomic it is trivially copyable, so a record that holds one can still be copied as a block
// (while no other thread touches it).
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

    /// Adds without a locked instruction: only the owning thread may call it.
    T add(T amount)
    {
        const T sum = static_cast<T>(load() + amount);
        store(sum);
        return sum;
    }
};

} // namespace tarvonel
