// SPDX-License-Identifier: BSL-1.0
// Memory that runs out when a test wants it to. These take the place of the standard operators, in
// the library as well; apart from the test, since GCC finds fault with them where it sees both.

#include <cstdlib>
#include <new>

namespace RegexClass::test {
extern int allocationsLeft;
int allocationsLeft = -1;
}  // namespace RegexClass::test

void* operator new(std::size_t size) {
  int& left = RegexClass::test::allocationsLeft;
  void* const memory = left != 0 ? std::malloc(size) : nullptr;
  if (memory == nullptr) throw std::bad_alloc();
  if (left > 0) --left;
  return memory;
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
