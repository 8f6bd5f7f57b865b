#pragma once

#include <QtGlobal>

namespace brevio {

// The unread count on the application's launcher icon. 0 shows no badge at all.
class Badge {
public:
    virtual ~Badge() = default;
    virtual void setCount(qint64 count) = 0;
};

} // namespace brevio
