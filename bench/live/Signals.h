// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QVariant>

namespace bench {

// The peer of a broadcaster, of its listeners, and of a collection.
class Sender : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QVariantList elements MEMBER elements)

public:
    QVariantList elements;

Q_SIGNALS:
    void changed(int id);
};

class Receiver : public QObject
{
    Q_OBJECT

public Q_SLOTS:
    void hear(int id) { heard += id; }

public:
    int heard = 0;
};

} // namespace bench
