// SPDX-License-Identifier: BSL-1.0
// As much of Boost.Function as the library's header asks of it, as another type than the engine's.
#include <functional>
#include <utility>

namespace boost {

template <class Result, class... Arguments>
class function_n {
 public:
  function_n() = default;
  template <class Callable>
  function_n(Callable callable) : call_(std::move(callable)) {}
  bool empty() const { return !call_; }
  Result operator()(Arguments... arguments) const {
    return call_(std::forward<Arguments>(arguments)...);
  }

 private:
  std::function<Result(Arguments...)> call_;
};

template <class Signature>
class function;
template <class Result, class... Arguments>
class function<Result(Arguments...)> : public function_n<Result, Arguments...> {};

template <class Result, class A, class B, class C>
using function3 = function_n<Result, A, B, C>;
template <class Result, class A, class B, class C, class D>
using function4 = function_n<Result, A, B, C, D>;
template <class Result, class A, class B, class C, class D, class E>
using function5 = function_n<Result, A, B, C, D, E>;

}  // namespace boost
