#pragma once

// Runs work on a thread with a small stack, as a host may import on a worker thread (a
// secondary thread gets 512 KiB on macOS): a recursion as deep as its input overflows it
// long before it would overflow a main thread's 8 MiB.

#include <QThread>

#include <memory>
#include <utility>

namespace SmallStack {

constexpr uint size = 512 * 1024;

// Returns when the work has ended.
template<typename Work>
void run(Work work)
{
    const std::unique_ptr<QThread> thread(QThread::create(std::move(work)));
    thread->setStackSize(size);
    thread->start();
    thread->wait();
}

} // namespace SmallStack
