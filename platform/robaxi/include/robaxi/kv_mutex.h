#ifndef ROBAXI_KV_MUTEX_H
#define ROBAXI_KV_MUTEX_H

#include <robaxi/robaxi_export.h>

#include <boost/shared_ptr.hpp>

#include <mutex>
#include <shared_mutex>
#include <utility>

/** A mutual exclusion lock, not recursive. Taken through KVCriticalSection. */
class ROBAXI_EXPORT KVMutex {
  public:
    static boost::shared_ptr<KVMutex> createKVMutex();  ///< Makes a mutex that is free.

    KVMutex(const KVMutex&) = delete;
    KVMutex& operator=(const KVMutex&) = delete;

    void lock() { fMutex.lock(); }      ///< Waits until it is free, and takes it.
    void unlock() { fMutex.unlock(); }  ///< Frees it, on the thread that took it.

  private:
    KVMutex() = default;
    std::mutex fMutex;
};

/**
 * A lock for many readers or one writer. Taken through KVCriticalSectionRead and
 * KVCriticalSectionWrite.
 *
 * Not recursive: a thread that holds it, for reading too, must not take it again. A writer that
 * waits in between may keep it out for ever.
 */
class ROBAXI_EXPORT KVMutexRW {
  public:
    static boost::shared_ptr<KVMutexRW> createKVMutexRW();  ///< Makes a mutex that is free.

    KVMutexRW(const KVMutexRW&) = delete;
    KVMutexRW& operator=(const KVMutexRW&) = delete;

    void lock() { fMutex.lock(); }      ///< Waits until nobody has it, and takes it for writing.
    void unlock() { fMutex.unlock(); }  ///< Ends lock(), on the same thread.
    void lockRead() { fMutex.lock_shared(); }      ///< Waits until nobody writes; several can read.
    void unlockRead() { fMutex.unlock_shared(); }  ///< Ends lockRead(), on the same thread.

  private:
    KVMutexRW() = default;
    std::shared_mutex fMutex;
};

/** Holds a KVMutex from construction to destruction, and the mutex itself alive. */
class KVCriticalSection {
  public:
    /** Locks the mutex until the destructor. */
    explicit KVCriticalSection(boost::shared_ptr<KVMutex> mutex) : fMutex(std::move(mutex)) {
        fMutex->lock();
    }
    ~KVCriticalSection() { fMutex->unlock(); }
    KVCriticalSection(const KVCriticalSection&) = delete;
    KVCriticalSection& operator=(const KVCriticalSection&) = delete;

  private:
    boost::shared_ptr<KVMutex> fMutex;
};

/** Holds a KVMutexRW for reading from construction to destruction, and the lock itself alive. */
class KVCriticalSectionRead {
  public:
    /** Locks the mutex for reading until the destructor. */
    explicit KVCriticalSectionRead(boost::shared_ptr<KVMutexRW> mutex) : fMutex(std::move(mutex)) {
        fMutex->lockRead();
    }
    ~KVCriticalSectionRead() { fMutex->unlockRead(); }
    KVCriticalSectionRead(const KVCriticalSectionRead&) = delete;
    KVCriticalSectionRead& operator=(const KVCriticalSectionRead&) = delete;

  private:
    boost::shared_ptr<KVMutexRW> fMutex;
};

/** Holds a KVMutexRW for writing from construction to destruction, and the lock itself alive. */
class KVCriticalSectionWrite {
  public:
    /** Locks the mutex for writing until the destructor. */
    explicit KVCriticalSectionWrite(boost::shared_ptr<KVMutexRW> mutex) : fMutex(std::move(mutex)) {
        fMutex->lock();
    }
    ~KVCriticalSectionWrite() { fMutex->unlock(); }
    KVCriticalSectionWrite(const KVCriticalSectionWrite&) = delete;
    KVCriticalSectionWrite& operator=(const KVCriticalSectionWrite&) = delete;

  private:
    boost::shared_ptr<KVMutexRW> fMutex;
};

#endif
