// CMutex is a lock that one thread may take repeatedly, and CSingleLock is its guard.
#pragma once

#include <mutex>
#include <stdexcept>

/// A lock for threads. The thread that holds it may take it again.
class CMutex {
  public:
    CMutex() = default;
    CMutex(const CMutex&) = delete;
    CMutex& operator=(const CMutex&) = delete;

    /// Wait for the mutex, and give it back. A thread unlocks it as often as it locked it.
    void Lock() { mutex_.lock(); }
    void Unlock() { mutex_.unlock(); }

  private:
    std::recursive_mutex mutex_;
};

/// Takes a mutex at most once, and gives it back at the end of its own life.
class CSingleLock {
  public:
    /// Raises std::invalid_argument without a mutex.
    explicit CSingleLock(CMutex* mutex, bool initialLock = false) : mutex_(mutex) {
        if (!mutex_) {
            throw std::invalid_argument("CSingleLock: no mutex");
        }
        if (initialLock) {
            Lock();
        }
    }
    ~CSingleLock() { Unlock(); }
    CSingleLock(const CSingleLock&) = delete;
    CSingleLock& operator=(const CSingleLock&) = delete;

    /// Waits for the mutex. A guard that holds it already returns at once. The result is always
    /// true.
    bool Lock() {
        if (!locked_) {
            mutex_->Lock();
            locked_ = true;
        }
        return true;
    }
    /// Gives the mutex back. Returns false if the guard did not hold it.
    bool Unlock() {
        if (!locked_) {
            return false;
        }
        locked_ = false;
        mutex_->Unlock();
        return true;
    }
    bool IsLocked() const noexcept { return locked_; }

  private:
    CMutex* mutex_;
    bool locked_ = false;
};
