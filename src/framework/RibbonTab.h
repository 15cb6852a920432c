#pragma once
// TadxRibbonTab: one tab of the host's ribbon. Its groups and buttons join it with the commands.
#include <string>

class TadxRibbonTab {
public:
    std::string Caption;
    std::string Id;
};
