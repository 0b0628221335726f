// SPDX-License-Identifier: MIT
#pragma once

// The whole public interface of Tavrin.
#include <tavrin/Array.h>
#include <tavrin/Bind.h>
#include <tavrin/Context.h>
#include <tavrin/Encoder.h>
#include <tavrin/Error.h>
#include <tavrin/Export.h>
#include <tavrin/Geometry.h>
#include <tavrin/HashTable.h>
#include <tavrin/Heap.h>
#include <tavrin/InitTerm.h>
#include <tavrin/LiveCollection.h>
#include <tavrin/LiveComponent.h>
#include <tavrin/LiveObject.h>
#include <tavrin/LivePropertyManager.h>
#include <tavrin/Localizer.h>
#include <tavrin/Lock.h>
#include <tavrin/Message.h>
#include <tavrin/Refcountable.h>
#include <tavrin/Reflection.h>
#include <tavrin/RegExp.h>
#include <tavrin/SimpleArray.h>
#include <tavrin/SparseArray.h>
#include <tavrin/String.h>
#include <tavrin/Thread.h>
#include <tavrin/Time.h>
#include <tavrin/UnicodeUtils.h>
#include <tavrin/Variant.h>
