// SPDX-License-Identifier: MIT
#include <tavrin/Tavrin.h>
int main() { Tavrin::InitTerm::init(); Tavrin::InitTerm::exit(); }
