#include "core/PlugBaseThread.h"

#include <chrono>

PlugBaseThread::~PlugBaseThread() {
    // A derived class stops its worker in its own destructor, while its
    // workerStep still exists; this is the last guard.
    if (worker.joinable()) {
        stopFlag.store(true);
        worker.join();
    }
}

void PlugBaseThread::run() {
    while (!stopFlag.load()) {
        workerStep();
        if (stopFlag.load()) break;
        std::this_thread::sleep_for(std::chrono::milliseconds(sleepMs));
    }
}

void PlugBaseThread::startThread() {
    if (worker.joinable()) return;
    stopFlag.store(false);
    worker = std::thread([this] { run(); });
}

void PlugBaseThread::stopThread() {
    if (!worker.joinable()) return;
    stopFlag.store(true);
    worker.join();
}
