// SPDX-License-Identifier: MIT
// How an object comes to the record that describes it.
#include <utility>

// A door: an object hands out the record that describes it, and counts its references.
#include <tavrin/Reflection.h>

#include "live/InfoRecords.h"
#include "live/LiveObjectData.h"
#include "live/SelfHold.h"

namespace Tavrin {

const ClassInfo *LiveObject::getClassInfo(int) const
{
    if (!detail::isUsable(*this))
        return nullptr;
    const detail::SelfHold hold(*this);
    if (data->classInfo == nullptr) { // the host tells the name of the class
        const ClassInfo *made = detail::newClassRecord(const_cast<LiveObject &>(*this));
        if (data->classInfo == nullptr)
            data->classInfo = made;
        else if (made != nullptr)
            made->release();
    }
    if (data->classInfo != nullptr)
        data->classInfo->addRef();
    return data->classInfo;
}

void LiveObjectData::dropClassInfo()
{
    if (const ClassInfo *dropped = std::exchange(classInfo, nullptr))
        dropped->release();
}

} // namespace Tavrin
