#pragma once
// The table file's format at the level of one value: the field descriptors of its header, and
// each kind of value as the file holds it. Every read is checked against the bytes left, and a
// short read gives false, never a read beyond them. Shared by the table's reader and writer.
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "store/MemData.h"

namespace tableformat {

constexpr double kWriterVersion = 1.91;

// Byte width of a fixed-width value, as the descriptor's Size gives it.
int FixedWidth(TFieldType t);
bool IsStringKind(TFieldType t);
bool IsBlobKind(TFieldType t);
bool IsOrdinalKind(TFieldType t);

// A currency value as the file's double holds it, in ten-thousandths; none when it is not a
// number or lies beyond what a currency holds.
std::optional<int64_t> CurrencyOfStored(double v);
// A date and time from the file's milliseconds since the year 1: none when it is not a number.
std::optional<double> DateTimeOfStored(double ms);

// Appends values to the bytes of a file, as the file holds them (little-endian).
class Writer {
public:
    explicit Writer(std::string& out) : out_(out) {}
    void Bytes(const void* p, size_t n) { out_.append(static_cast<const char*>(p), n); }
    template <class T>
    void Put(T v) {
        unsigned char b[sizeof(T)];
        std::memcpy(b, &v, sizeof(T));  // the machines this runs on are little-endian
        Bytes(b, sizeof(T));
    }
    void Zeros(size_t n) { out_.append(n, '\0'); }

private:
    std::string& out_;
};

// One fixed-width value as the writer puts it, flag and all, in a buffer of its own: what a
// value read is compared with.
class ValueBytes {
public:
    template <class T>
    void Put(T v) {
        std::memcpy(b_ + n_, &v, sizeof(T));
        n_ += sizeof(T);
    }
    void Zeros(size_t n) {
        std::memset(b_ + n_, 0, n);
        n_ += n;
    }
    bool Equals(const char* p, size_t n) const { return n == n_ && std::memcmp(b_, p, n) == 0; }

private:
    unsigned char b_[16];
    size_t n_ = 0;
};

// Reads values from the bytes of a file; a read past their end gives false and moves nothing.
class Reader {
public:
    Reader(const char* data, size_t size) : data_(data), size_(size) {}
    size_t Pos() const { return pos_; }
    size_t Left() const { return size_ - pos_; }
    bool AtEnd() const { return pos_ >= size_; }
    void Seek(size_t p) { pos_ = p; }
    const char* Here() const { return data_ + pos_; }
    bool Bytes(size_t n, std::string& out) {
        if (n > Left()) return false;
        out.assign(data_ + pos_, n);
        pos_ += n;
        return true;
    }
    bool Skip(size_t n) {
        if (n > Left()) return false;
        pos_ += n;
        return true;
    }
    template <class T>
    bool Get(T& v) {
        if (sizeof(T) > Left()) return false;
        std::memcpy(&v, data_ + pos_, sizeof(T));
        pos_ += sizeof(T);
        return true;
    }

private:
    const char* data_;
    size_t size_;
    size_t pos_ = 0;
};

struct Descriptor {
    int32_t size = 0;
    TFieldType type = TFieldType::ftUnknown;
    std::string name;  // program text
    TField* field = nullptr;
};

// Ok: descriptors follow. Empty: a stream with no fields at all, read to its end. Damaged: the
// header is cut or makes no sense, and the load ends with nothing loaded.
enum class HeaderResult { Ok, Empty, Damaged };

struct Header {
    double version = 0;
    std::vector<Descriptor> descriptors;
};

// Reads the version and the descriptors. A short read or an unknown kind gives Damaged; a name
// longer than 255 bytes raises.
HeaderResult ReadHeader(Reader& r, Header& h, const std::string& tableName);
// The declared size of a string field from its descriptor: older files count the terminator.
int DeclaredSize(const Descriptor& d, double version);
// Reads one value by its descriptor into a cell of the descriptor's own kind. False on a short
// or impossible read.
bool ReadValue(Reader& r, const Descriptor& d, double version, TCell& cell);
// A value read in the file's kind, put into the table field's kind.
TCell Convert(const Descriptor& d, TCell cell, const TField& f);
void WriteDescriptor(Writer& w, const TField& f);

}  // namespace tableformat
