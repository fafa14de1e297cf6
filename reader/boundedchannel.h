#pragma once

// The hand-over of decoded ticks between the thread that reads the file and the thread that
// builds laps: a blocking queue of at most Capacity items, one producer, one consumer, closed
// once by the producer. The items live in a ring of fixed size, so a push allocates nothing.
// Only TickStream uses it.

#include <array>
#include <condition_variable>
#include <mutex>
#include <stdexcept>

namespace {

template<typename T, int Capacity>
class Channel
{
public:
    // Blocks while the channel is full.
    void push(T item)
    {
        std::unique_lock lock(m_mutex);
        if (m_closed)
            throw std::logic_error("Panic! Push to a closed channel");
        if (m_size >= Capacity)
            ++m_fullWaits;
        m_changed.wait(lock, [this] { return m_size < Capacity; });
        append(std::move(item));
    }

    // Never blocks: false, with the item left as it was, when the channel is full or closed.
    bool tryPush(T &item)
    {
        std::lock_guard lock(m_mutex);
        if (m_closed || m_size >= Capacity)
            return false;
        append(std::move(item));
        return true;
    }

    // Blocks while the channel is empty and open. False once it is closed and empty; items
    // queued before the close are still delivered.
    bool pop(T &out)
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return m_size > 0 || m_closed; });
        return takeFront(out);
    }

    // Never blocks: false when the channel is empty.
    bool tryPop(T &out)
    {
        std::lock_guard lock(m_mutex);
        return takeFront(out);
    }

    // Pushes so far that found the channel full and waited for a pop: the producer ran ahead.
    int fullWaits() const
    {
        std::lock_guard lock(m_mutex);
        return m_fullWaits;
    }

    void close()
    {
        std::lock_guard lock(m_mutex);
        m_closed = true;
        m_changed.notify_all();
    }

private:
    void append(T &&item)
    {
        m_items[size_t((m_front + m_size) % Capacity)] = std::move(item);
        ++m_size;
        m_changed.notify_one();
    }

    bool takeFront(T &out)
    {
        if (m_size == 0)
            return false;
        out = std::move(m_items[size_t(m_front)]);
        m_front = (m_front + 1) % Capacity;
        --m_size;
        m_changed.notify_one();
        return true;
    }

    std::array<T, Capacity> m_items {};
    int m_front = 0;
    int m_size = 0;
    int m_fullWaits = 0;
    mutable std::mutex m_mutex;
    // One condition for both directions: there is one producer and one consumer, and each
    // waiter tests its own condition again after every wake-up.
    std::condition_variable m_changed;
    bool m_closed = false;
};

} // namespace
