#pragma once
// TPackage: the zip container of a workbook, held whole in memory as named parts. Loading reads
// every part (with limits, so that a hostile file can't make it grow without bound); saving
// writes a new file beside the target and puts it in place only once it is complete.
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "base/Exceptions.h"

namespace xlsx {

// A workbook that can't be read or written; the message says why.
CORVELLE_EXCEPTION(EXlsxError, Exception)

class TPackage {
public:
    struct Part {
        std::string name;  // as in the container, without a leading slash: "xl/workbook.xml"
        std::string bytes;
    };

    // Limits of what Load accepts.
    static constexpr size_t kMaxParts = 10000;
    static constexpr size_t kMaxPartBytes = size_t{256} << 20;
    static constexpr size_t kMaxTotalBytes = size_t{1} << 30;

    // Reads a zip file; EXlsxError when it is missing, unreadable, not a zip or over the limits.
    static TPackage Load(const std::string& path);

    // Writes the parts in their order, compressed; EXlsxError when it can't. A failed save leaves
    // any earlier file at path as it was.
    void Save(const std::string& path) const;

    // The part of that name (compared without regard to case, as part names are); nullptr when
    // there is none.
    Part* Find(std::string_view name);
    const Part* Find(std::string_view name) const;
    // The part's bytes; EXlsxError when there is none.
    std::string& Bytes(std::string_view name);
    // Adds a part, or replaces the bytes of the one of that name.
    void Put(std::string name, std::string bytes);
    void Remove(std::string_view name);

    const std::vector<Part>& Parts() const { return parts_; }

private:
    std::vector<Part> parts_;
};

// The name of the part that a relationship's target names, seen from the part that holds the
// relationship ("xl/workbook.xml" and "worksheets/sheet1.xml" give "xl/worksheets/sheet1.xml";
// an absolute target "/xl/styles.xml" gives "xl/styles.xml").
std::string ResolvePartName(std::string_view sourcePart, std::string_view target);
// The relationships part of a part: "xl/workbook.xml" has "xl/_rels/workbook.xml.rels".
std::string RelsPartName(std::string_view part);

}  // namespace xlsx
