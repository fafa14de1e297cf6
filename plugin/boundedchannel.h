#pragma once

// The hand-over of decoded ticks from the thread that reads the file to the thread that
// builds laps: a blocking queue of at most Capacity items, one producer, one consumer, closed
// once by the producer. Only the import uses it.

#include <condition_variable>
#include <list>
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
        m_changed.wait(lock, [this] { return m_size < Capacity; });
        m_items.push_back(std::move(item));
        ++m_size;
        m_changed.notify_one();
    }

    // Blocks while the channel is empty and open. False once it is closed and empty; items
    // queued before the close are still delivered.
    bool pop(T &out)
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return !m_items.empty() || m_closed; });
        if (m_items.empty())
            return false;
        out = std::move(m_items.front());
        m_items.pop_front();
        --m_size;
        m_changed.notify_one();
        return true;
    }

    void close()
    {
        std::lock_guard lock(m_mutex);
        m_closed = true;
        m_changed.notify_all();
    }

private:
    std::list<T> m_items;
    int m_size = 0;
    std::mutex m_mutex;
    // One condition for both directions: there is one producer and one consumer, and each
    // waiter tests its own condition again after every wake-up.
    std::condition_variable m_changed;
    bool m_closed = false;
};

} // namespace
