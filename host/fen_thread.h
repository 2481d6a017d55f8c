/// NAME
///   fen_thread - locking inside the panel's process

#pragma once

#include <mutex>

namespace fen_thread {

/// A lock that the thread holding it may enter again.
class Lock {
 public:
  void Enter() { mutex_.lock(); }
  void Leave() { mutex_.unlock(); }

 private:
  std::recursive_mutex mutex_;
};

/// Holds a lock from its construction to the end of its scope.
class SafeSection {
 public:
  explicit SafeSection(Lock& lock) : lock_(lock) { lock_.Enter(); }
  ~SafeSection() { lock_.Leave(); }

  SafeSection(const SafeSection&) = delete;
  SafeSection& operator=(const SafeSection&) = delete;

 private:
  Lock& lock_;
};

}  // namespace fen_thread
