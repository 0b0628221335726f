// SPDX-License-Identifier: MIT
#pragma once

// The end-of-thread notice: one per process, opened and closed with the library.
namespace Tavrin::platform {

using ThreadEndNotice = void (*)(void *value);

// Starts the service. `notice` then runs on every thread that ends with an armed value, before the
// thread's own thread-local storage goes; values that it arms again are noticed again. False when
// the system has no slot left: armed values are then ignored.
bool openThreadEnd(ThreadEndNotice notice);
// Has the calling thread's end noticed with `value`; null disarms it.
void armThreadEnd(void *value);
// Ends the service; armed values of all threads are forgotten.
void closeThreadEnd();

} // namespace Tavrin::platform
