// BS::thread_pool, for every file that needs one: never include <BS_thread_pool.hpp> directly.
#pragma once

// With std::jthread the pool's workers wait on a condition variable with a stop token. In
// mingw-w64's runtime (12.2) that wait now and then misses the stop, and the destructor of the pool
// then joins for ever: seen within a hundred pools made and destroyed in a row. The pool's other way,
// a plain condition variable, does not have the fault. All files must agree on the way, hence this
// one place.
#ifdef __MINGW32__
#include <thread>
#include <version>
#pragma push_macro("__cpp_lib_jthread")
#undef __cpp_lib_jthread
#endif

#include <BS_thread_pool.hpp>  // IWYU pragma: export

#ifdef __MINGW32__
#pragma pop_macro("__cpp_lib_jthread")
#endif
