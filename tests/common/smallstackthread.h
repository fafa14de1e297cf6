#pragma once

// A thread with a small stack that runs work handed to it, as a host may import on a worker
// thread (a secondary thread gets 512 KiB on macOS): a recursion as deep as its input
// overflows it long before it would overflow a main thread's 8 MiB. The thread lives as long
// as the object, so that a fuzz target's inputs pay for no thread's start and end, whose
// memory the fuzzer's leak check would take for the input's.

#include <QThread>

#include <condition_variable>
#include <memory>
#include <mutex>

class SmallStackThread
{
public:
    static constexpr uint stackSize = 512 * 1024;

    SmallStackThread()
        : m_thread(QThread::create([this] { serve(); }))
    {
        m_thread->setStackSize(stackSize);
        m_thread->start();
    }

    ~SmallStackThread()
    {
        {
            const std::lock_guard lock(m_mutex);
            m_quit = true;
        }
        m_changed.notify_all();
        m_thread->wait();
    }

    SmallStackThread(const SmallStackThread &) = delete;
    SmallStackThread &operator=(const SmallStackThread &) = delete;

    // Runs the work on the thread and returns when it has ended.
    template<typename Work>
    void run(Work &work)
    {
        std::unique_lock lock(m_mutex);
        m_work = [](void *context) {
            (*static_cast<Work *>(context))();
        };
        m_context = &work;
        m_changed.notify_all();
        m_changed.wait(lock, [this] { return m_work == nullptr; });
    }

private:
    void serve()
    {
        std::unique_lock lock(m_mutex);
        for (;;) {
            m_changed.wait(lock, [this] { return m_quit || m_work != nullptr; });
            if (m_quit)
                return;
            m_work(m_context);
            m_work = nullptr;
            m_changed.notify_all();
        }
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    void (*m_work)(void *) = nullptr;
    void *m_context = nullptr;
    bool m_quit = false;
    std::unique_ptr<QThread> m_thread;
};
