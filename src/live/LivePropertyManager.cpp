// SPDX-License-Identifier: MIT
// A manager forwards to its storage. The static form lives inside the manager, so that making one
// asks for no memory. Pinned by tests/live/LivePropertyManagerTest.cpp.
#include <tavrin/LivePropertyManager.h>

#include <memory>
#include <new>

#include "live/DynamicPropertyManager.h"
#include "live/StaticPropertyManager.h"

namespace Tavrin {

LivePropertyManager::LivePropertyManager(const LivePropertyInfo *table)
{
    static_assert(sizeof(StaticPropertyManager) <= sizeof staticForm);
    static_assert(alignof(StaticPropertyManager) <= alignof(void *));
    impl = ::new (static_cast<void *>(staticForm)) StaticPropertyManager(table);
}

LivePropertyManager::LivePropertyManager() : LivePropertyManager(nullptr) {}

LivePropertyManager::~LivePropertyManager()
{
    dropImpl();
}

void LivePropertyManager::dropImpl() noexcept
{
    if (impl->getTable() != nullptr)
        impl->~LivePropertyManagerImpl();
    else
        delete impl;
}

int LivePropertyManager::getIDForName(const String &name, int &id, InfoType &type, int flags) const
{
    return impl->getIDForName(name, id, type, flags);
}

int LivePropertyManager::getNameForID(int id, String &name, int flags) const
{
    return impl->getNameForID(id, name, flags);
}

InfoType LivePropertyManager::getType(int id)
{
    return impl->getType(id);
}

int LivePropertyManager::enumerate(SimpleArray &ids, int flags) const
{
    return impl->enumerate(ids, flags);
}

const ServiceInfo *LivePropertyManager::getConstructor(int flags) const
{
    return impl->getConstructor(flags);
}

const ServiceInfo *LivePropertyManager::getServiceInfo(const String &name, int flags) const
{
    return impl->getServiceInfo(name, flags);
}

const ServiceInfo *LivePropertyManager::getServiceInfo(int id, int flags) const
{
    return impl->getServiceInfo(id, flags);
}

bool LivePropertyManager::hasOperators() const
{
    return impl->hasOperators();
}

void LivePropertyManager::registerProperties(const LivePropertyInfo *table)
{
    impl->registerProperties(table);
}

void LivePropertyManager::registerProperty(const LivePropertyInfo &row)
{
    registerProperty(row.name, row.id, row.flags, row.description);
}

void LivePropertyManager::registerProperty(const char *name, int id, int flags,
                                           const char *description)
{
    if (impl->getTable() != nullptr)
        makeDynamic();
    impl->registerProperty(name, id, flags, description);
}

// Without the memory for all rows of the table the manager stays static, and ignores the new row.
void LivePropertyManager::makeDynamic() noexcept
try {
    auto made = std::make_unique<DynamicPropertyManager>();
    for (const LivePropertyInfo *row = impl->getTable(); row->name != nullptr; ++row)
        if (!made->tryRegister(row->name, row->id, row->flags, row->description))
            return;
    dropImpl();
    impl = made.release();
} catch (const std::bad_alloc &) {}

} // namespace Tavrin
