#pragma once

#include "platform/IdleTime.h"

// Read from the MIT-SCREEN-SAVER extension through Qt's own xcb connection.
class X11IdleTime final : public IdleTime
{
public:
    uint32_t sinceInput() const override;
    void countAsActivity() override;
};
