// The library comes and goes with a module of the application, while its threads stay.

#include <condition_variable>
#include <cstdlib>
#include <dlfcn.h>
#include <fstream>
#include <malloc.h>
#include <mutex>
#include <string>
#include <thread>

#include <gtest/gtest.h>

namespace {

using SearchFiles = int (*)(const char*, bool);

bool IsLoaded() {
  std::ifstream maps("/proc/self/maps");
  for (std::string line; std::getline(maps, line);) {
    if (line.find("regexclass") != line.npos || line.find("unloading-plugin") != line.npos) {
      return true;
    }
  }
  return false;
}

/// A thread that searches when told, and goes on living.
class LastingThread {
 public:
  ~LastingThread() {
    Run(nullptr);
    thread_.join();
  }
  void Run(SearchFiles search) {
    std::unique_lock<std::mutex> lock(mutex_);
    search_ = search;
    waiting_ = false;
    changed_.notify_all();
    changed_.wait(lock, [&] { return waiting_ || search_ == nullptr; });
  }

 private:
  void Loop() {
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
      changed_.wait(lock, [&] { return !waiting_; });
      if (search_ == nullptr) return;
      EXPECT_GT(search_(__FILE__, false), 0);
      waiting_ = true;
      changed_.notify_all();
    }
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  SearchFiles search_ = nullptr;
  bool waiting_ = true;
  std::thread thread_{&LastingThread::Loop, this};
};

TEST(Unloading, LeavesNothingBehind) {
  LastingThread lasting;
  constexpr unsigned int kSettled = 250;  // the first rounds fill caches of the C library
  constexpr unsigned int kRounds = 500;
  std::size_t inUse = 0;
  for (unsigned int round = 0; round < kRounds; ++round) {
    void* const plugin = ::dlopen(PLUGIN, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(plugin, nullptr) << ::dlerror();
    const auto search = reinterpret_cast<SearchFiles>(::dlsym(plugin, "SearchFiles"));
    ASSERT_NE(search, nullptr);
    EXPECT_GT(search(__FILE__, false), 0);
    lasting.Run(search);
    std::thread([&] { EXPECT_GT(search(__FILE__, true), 0); }).join();
    EXPECT_GT(search(__FILE__, round % 2 == 0), 0);
    ASSERT_EQ(::dlclose(plugin), 0);
    ASSERT_FALSE(IsLoaded()) << "in round " << round;
    if (round == kSettled) inUse = ::mallinfo2().uordblks;
  }
  // A block here and there may be left in some cache, but not one a round.
  EXPECT_LT(::mallinfo2().uordblks, inUse + 24UL * (kRounds - kSettled));
}

}  // namespace
