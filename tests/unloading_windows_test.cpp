// SPDX-License-Identifier: BSL-1.0
// The library comes and goes with a module of the application, while its threads stay.

#include <mutex>
#include <thread>
#include <vector>
#include <windows.h>
// Behind the one above.
#include <psapi.h>

#include <gtest/gtest.h>

using SearchFiles = unsigned (*)(const char*, bool);

/// The handles that the process has, and its memory in bytes.
std::pair<DWORD, std::size_t> InUse() {
  DWORD handles = 0;
  GetProcessHandleCount(GetCurrentProcess(), &handles);
  PROCESS_MEMORY_COUNTERS counters = {};
  GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
  return {handles, counters.PagefileUsage};
}

TEST(Unloading, LeavesNothingBehind) {
  constexpr unsigned kRounds = 100;
  std::pair<DWORD, std::size_t> begin;
  for (unsigned round = 0; round < kRounds; ++round) {
    if (round == kRounds / 4) begin = InUse();  // when the system's own caches are full
    const HMODULE plugin = LoadLibraryA(PLUGIN);
    ASSERT_NE(nullptr, plugin) << GetLastError();
    const auto search = reinterpret_cast<SearchFiles>(
        reinterpret_cast<void*>(GetProcAddress(plugin, "SearchFiles")));
    std::mutex turn;  // what the module keeps is for one thread at a time
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
      threads.emplace_back([&, i] {
        const std::lock_guard<std::mutex> lock(turn);
        EXPECT_GT(search(SEARCHED, i % 2 == 0), 0U);
      });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_GT(search(SEARCHED, true), 0U);
    ASSERT_TRUE(FreeLibrary(plugin));
    ASSERT_EQ(nullptr, GetModuleHandleA("libregexclass.dll")) << "in round " << round;
  }
  const auto end = InUse();
  EXPECT_LE(end.first, begin.first);
  EXPECT_LT(end.second, begin.second + kRounds * 1000);  // the system counts in pages
}
