#pragma once
// TDataSource: the named link between a table and the views bound to it.
#include <string>

class TdxMemData;

struct TDataSource {
    std::string Name;
    TdxMemData* DataSet = nullptr;
};
