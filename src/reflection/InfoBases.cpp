// SPDX-License-Identifier: MIT
// What the records say when a subclass says nothing. Pinned by tests/reflection/InfoBasesTest.cpp.
#include <tavrin/Reflection.h>

namespace Tavrin {

ParamInfo::~ParamInfo() = default;

void ParamInfo::release() const
{
    Refcountable::release();
}

int ParamInfo::getLanguage() const
{
    return 0;
}

InfoState ParamInfo::getState()
{
    return kStateDynamic;
}

void ParamInfo::getName(String &out) const
{
    out.erase();
}

void ParamInfo::getDescription(bool, String &out) const
{
    out.erase();
}

ServiceInfo::~ServiceInfo() = default;

void ServiceInfo::release() const
{
    Refcountable::release();
}

int ServiceInfo::getLanguage() const
{
    return 0;
}

InfoState ServiceInfo::getState()
{
    return kStateDynamic;
}

void ServiceInfo::getDescription(bool, String &out) const
{
    out.erase();
}

const TypeInfo &ServiceInfo::getTypeInfo2() const
{
    return getTypeInfo();
}

int ServiceInfo::getParamCount() const
{
    return 0;
}

const ParamInfo *ServiceInfo::getParamInfo(int) const
{
    return nullptr;
}

bool ServiceInfo::getSampleCode(FileSpec &) const
{
    return false;
}

bool ServiceInfo::getSampleCode(String &out) const
{
    out.erase();
    return false;
}

ClassInfo::~ClassInfo() = default;

void ClassInfo::release() const
{
    Refcountable::release();
}

void ClassInfo::getSuperclass(String &out) const
{
    out.erase();
}

int ClassInfo::getLanguage() const
{
    return 0;
}

InfoState ClassInfo::getState()
{
    return kStateDynamic;
}

void ClassInfo::getDescription(bool, String &out) const
{
    out.erase();
}

int ClassInfo::enumerate(SimpleArray &, int) const
{
    return 0;
}

const ServiceInfo *ClassInfo::getServiceInfo(int) const
{
    return nullptr;
}

const ServiceInfo *ClassInfo::getStaticServiceInfo(const String &) const
{
    return nullptr;
}

const ServiceInfo *ClassInfo::getStaticServiceInfo(int) const
{
    return nullptr;
}

bool ClassInfo::getSampleCode(FileSpec &) const
{
    return false;
}

bool ClassInfo::getSampleCode(String &out) const
{
    out.erase();
    return false;
}

} // namespace Tavrin
