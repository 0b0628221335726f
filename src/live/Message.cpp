// SPDX-License-Identifier: MIT
// The kinds of message. Pinned by tests/live/MessageTest.cpp.
#include <tavrin/Message.h>

namespace Tavrin {

Message::Message(int messageID) : id(messageID) {}

Message::~Message() = default;

Variant *Message::getData() const
{
    return nullptr;
}

DataMessage::DataMessage(int id) : Message(id) {}

DataMessage::DataMessage(int id, const Variant &value) : Message(id), data(value) {}

DataMessage::DataMessage(int id, const String &string) : Message(id), data(string) {}

DataMessage::DataMessage(int id, const char *bytes) : Message(id), data(bytes) {}

DataMessage::DataMessage(int id, const unsigned short *units) : Message(id), data(units) {}

DataMessage::DataMessage(int id, int number) : Message(id), data(number) {}

DataMessage::DataMessage(int id, double number) : Message(id), data(number) {}

DataMessage::DataMessage(int id, bool flag) : Message(id), data(flag) {}

DataMessage::DataMessage(int id, LiveObject *object) : Message(id), data(object) {}

DataMessage::~DataMessage() = default;

Variant *DataMessage::getData() const
{
    return &data;
}

ArgumentsMessage::ArgumentsMessage(int id, const Array &arguments)
    : DataMessage(id), args(arguments)
{}

ArgumentsMessage::~ArgumentsMessage() = default;

LiveMessage::LiveMessage(const LiveObject &object, int id, int property, Error *words)
    : DataMessage(id), thisObject(&object), propertyID(property), extError(words)
{}

LiveMessage::LiveMessage(const LiveObject &object, int id, int property, const Variant &value,
                         Error *words)
    : DataMessage(id, value), thisObject(&object), propertyID(property), extError(words)
{}

LiveMessage::LiveMessage(const LiveObject &object, int id, int property, const Array &arguments,
                         Error *words)
    : DataMessage(id), thisObject(&object), propertyID(property), args(arguments), extError(words)
{}

LiveMessage::LiveMessage(const LiveObject &object, int id, SimpleArray &ids)
    : DataMessage(id), thisObject(&object), propertyID(0), enumIDs(&ids), extError(nullptr)
{}

LiveMessage::~LiveMessage() = default;

} // namespace Tavrin
