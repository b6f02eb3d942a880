// SPDX-License-Identifier: BSL-1.0
// The library comes and goes with a module of the application, while its threads stay.

#include <dlfcn.h>
#include <malloc.h>
#include <pthread.h>
#include <thread>

#include <gtest/gtest.h>

#include "FileTestHelpers.hpp"

using SearchFiles = unsigned (*)(const char*, bool);

TEST(Unloading, LeavesNothingBehind) {
  constexpr unsigned kRounds = 1000;  // caches of the C library fill in the first half
  ::mallopt(M_ARENA_MAX, 1);          // so that what other threads take is counted
  // A thread that searches in each round, and goes on living.
  pthread_barrier_t turn;
  ::pthread_barrier_init(&turn, nullptr, 2);
  SearchFiles search = nullptr;
  std::thread lasting([&] {
    for (unsigned round = 0; round < kRounds; ++round) {
      ::pthread_barrier_wait(&turn);
      EXPECT_GT(search(SEARCHED, false), 0U);
      ::pthread_barrier_wait(&turn);
    }
    ::pthread_barrier_wait(&turn);  // it must not end while the library is being closed
  });
  std::vector<std::size_t> inUse(kRounds);
  for (unsigned round = 0; round < kRounds; ++round) {
    void* const plugin = ::dlopen(PLUGIN, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(plugin, nullptr) << ::dlerror();
    search = reinterpret_cast<SearchFiles>(::dlsym(plugin, "SearchFiles"));
    // Each object that lasts ends on another thread, and leaves the record of its own one.
    std::thread([&] { EXPECT_GT(search(SEARCHED, true), 0U); }).join();
    ::pthread_barrier_wait(&turn);
    ::pthread_barrier_wait(&turn);
    EXPECT_GT(search(SEARCHED, true), 0U);
    std::thread([&] { EXPECT_GT(search(SEARCHED, round % 2 == 0), 0U); }).join();
    ASSERT_EQ(::dlclose(plugin), 0);
    const std::string maps = RegexClass::test::ReadFile("/proc/self/maps");
    ASSERT_EQ(maps.find("libregexclass"), maps.npos) << "in round " << round;
    ASSERT_EQ(maps.find(PLUGIN), maps.npos) << "in round " << round;
    inUse[round] = ::mallinfo2().uordblks;
  }
  ::pthread_barrier_wait(&turn);
  lasting.join();
  // A block here and there may be left in some cache, but not one a round.
  EXPECT_LT(inUse[kRounds - 1], inUse[kRounds / 2] + 12 * kRounds);
}
