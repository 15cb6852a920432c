#include "xlsx/XlsxPackage.h"

#include <zip.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <system_error>

namespace xlsx {

namespace {

bool SameNameNoCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (std::tolower(static_cast<unsigned char>(a[i])) != std::tolower(static_cast<unsigned char>(b[i])))
            return false;
    return true;
}

std::string ZipErrorText(int code) {
    zip_error_t error;
    zip_error_init_with_code(&error, code);
    std::string text = zip_error_strerror(&error);
    zip_error_fini(&error);
    return text;
}

std::string ArchiveErrorText(zip_t* za) { return zip_error_strerror(zip_get_error(za)); }

struct ArchiveCloser {
    void operator()(zip_t* za) const { zip_discard(za); }
};
using Archive = std::unique_ptr<zip_t, ArchiveCloser>;

struct FileCloser {
    void operator()(zip_file_t* f) const { zip_fclose(f); }
};

// zlib's usual balance of size and speed (libzip's own default is its slowest, best level).
constexpr zip_uint32_t kDeflateLevel = 6;

// Parts get a fixed time, so that the same workbook gives the same bytes.
constexpr time_t kPartTime = 315532800;  // 1 January 1980

}  // namespace

TPackage TPackage::Load(const std::string& path) {
    std::error_code ec;
    if (!std::filesystem::is_regular_file(path, ec)) throw EXlsxError("the file " + path + " does not exist");
    int code = 0;
    Archive za(zip_open(path.c_str(), ZIP_RDONLY, &code));
    if (!za) throw EXlsxError("the file " + path + " is not a workbook: " + ZipErrorText(code));

    zip_int64_t count = zip_get_num_entries(za.get(), 0);
    if (count < 0 || static_cast<uint64_t>(count) > kMaxParts)
        throw EXlsxError("the file " + path + " holds too many parts to be a workbook");

    TPackage package;
    size_t total = 0;
    std::string buffer(64 * 1024, '\0');
    for (zip_int64_t i = 0; i < count; ++i) {
        const char* name = zip_get_name(za.get(), static_cast<zip_uint64_t>(i), 0);
        if (!name) throw EXlsxError("the file " + path + " is damaged: " + ArchiveErrorText(za.get()));
        std::string partName = name;
        if (!partName.empty() && partName.back() == '/') continue;  // a folder entry
        std::unique_ptr<zip_file_t, FileCloser> file(zip_fopen_index(za.get(), static_cast<zip_uint64_t>(i), 0));
        if (!file)
            throw EXlsxError("the file " + path + " is damaged: " + partName + ": " + ArchiveErrorText(za.get()));
        std::string bytes;
        while (true) {
            zip_int64_t n = zip_fread(file.get(), buffer.data(), buffer.size());
            if (n < 0)
                throw EXlsxError("the file " + path + " is damaged: " + partName + ": " +
                                 zip_error_strerror(zip_file_get_error(file.get())));
            if (n == 0) break;
            bytes.append(buffer.data(), static_cast<size_t>(n));
            total += static_cast<size_t>(n);
            if (bytes.size() > kMaxPartBytes || total > kMaxTotalBytes)
                throw EXlsxError("the file " + path + " is too large to be a workbook");
        }
        while (!partName.empty() && partName.front() == '/') partName.erase(0, 1);
        package.parts_.push_back({std::move(partName), std::move(bytes)});
    }
    return package;
}

void TPackage::Save(const std::string& path) const {
    // libzip writes the archive to a temporary file beside path and renames it over path only
    // when the whole archive is written.
    int code = 0;
    Archive za(zip_open(path.c_str(), ZIP_CREATE | ZIP_TRUNCATE, &code));
    if (!za) throw EXlsxError("cannot write " + path + ": " + ZipErrorText(code));
    for (const Part& part : parts_) {
        zip_source_t* source = zip_source_buffer(za.get(), part.bytes.data(), part.bytes.size(), 0);
        if (!source) throw EXlsxError("cannot write " + path + ": " + ArchiveErrorText(za.get()));
        zip_int64_t index = zip_file_add(za.get(), part.name.c_str(), source, ZIP_FL_ENC_UTF_8);
        if (index < 0) {
            zip_source_free(source);
            throw EXlsxError("cannot write " + path + ": " + part.name + ": " + ArchiveErrorText(za.get()));
        }
        zip_set_file_compression(za.get(), static_cast<zip_uint64_t>(index), ZIP_CM_DEFLATE, kDeflateLevel);
        zip_file_set_mtime(za.get(), static_cast<zip_uint64_t>(index), kPartTime, 0);
    }
    if (zip_close(za.get()) != 0) throw EXlsxError("cannot write " + path + ": " + ArchiveErrorText(za.get()));
    (void)za.release();  // closed
}

TPackage::Part* TPackage::Find(std::string_view name) {
    while (!name.empty() && name.front() == '/') name.remove_prefix(1);
    for (Part& p : parts_)
        if (p.name == name) return &p;
    for (Part& p : parts_)
        if (SameNameNoCase(p.name, name)) return &p;
    return nullptr;
}

const TPackage::Part* TPackage::Find(std::string_view name) const {
    return const_cast<TPackage*>(this)->Find(name);
}

std::string& TPackage::Bytes(std::string_view name) {
    Part* p = Find(name);
    if (!p) throw EXlsxError("the workbook has no part " + std::string(name));
    return p->bytes;
}

void TPackage::Put(std::string name, std::string bytes) {
    if (Part* p = Find(name)) {
        p->bytes = std::move(bytes);
        return;
    }
    while (!name.empty() && name.front() == '/') name.erase(0, 1);
    parts_.push_back({std::move(name), std::move(bytes)});
}

void TPackage::Remove(std::string_view name) {
    const Part* p = Find(name);
    if (!p) return;
    parts_.erase(parts_.begin() + (p - parts_.data()));
}

std::string ResolvePartName(std::string_view sourcePart, std::string_view target) {
    std::string joined;
    if (!target.empty() && target.front() == '/') {
        joined = std::string(target.substr(1));
    } else {
        size_t slash = sourcePart.rfind('/');
        joined = slash == std::string_view::npos ? std::string() : std::string(sourcePart.substr(0, slash + 1));
        joined += target;
    }
    // Fold "." and ".." segments.
    std::vector<std::string> segments;
    size_t start = 0;
    while (start <= joined.size()) {
        size_t end = joined.find('/', start);
        if (end == std::string::npos) end = joined.size();
        std::string seg = joined.substr(start, end - start);
        if (seg == "..") {
            if (!segments.empty()) segments.pop_back();
        } else if (!seg.empty() && seg != ".") {
            segments.push_back(std::move(seg));
        }
        start = end + 1;
    }
    std::string result;
    for (const std::string& s : segments) {
        if (!result.empty()) result += '/';
        result += s;
    }
    return result;
}

std::string RelsPartName(std::string_view part) {
    size_t slash = part.rfind('/');
    std::string folder = slash == std::string_view::npos ? std::string() : std::string(part.substr(0, slash + 1));
    std::string file(slash == std::string_view::npos ? part : part.substr(slash + 1));
    return folder + "_rels/" + file + ".rels";
}

}  // namespace xlsx
