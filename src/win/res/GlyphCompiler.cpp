// corvelle-glyphc: draws the add-in's glyphs from their description (Glyphs.txt) at build time.
// It runs on the build machine, so it uses nothing but the C++ library. For every glyph it
// writes a 32-bit BMP with an alpha channel; for every image list, one strip of its images side
// by side; and the resource script and the catalogue header through which the library carries and
// finds them:
//
//   corvelle-glyphc DESCRIPTION OUTPUT_FOLDER
//
// The description, one statement a line (a line that starts with '#' is a comment):
//   glyph NAME SIZE [UNITS]   a SIZE by SIZE picture; the shapes that follow give their
//                             coordinates in UNITS (SIZE unless given) from the top left
//   rect X0 Y0 X1 Y1 COLOR    a filled rectangle
//   round X0 Y0 X1 Y1 R COLOR a filled rectangle with rounded corners of radius R
//   frame X0 Y0 X1 Y1 W COLOR the outline of a rectangle, W wide, inside it
//   disc X Y R COLOR          a filled circle
//   ring X Y R W COLOR        a circle's outline, W wide, centred on the radius
//   arc X Y R W FROM TO COLOR part of a ring, from FROM to TO degrees (0 is east, 90 south)
//   line X0 Y0 X1 Y1 W COLOR  a stroke with round ends
//   poly COLOR X Y X Y ...    a filled polygon
//   use NAME                  the shapes of a glyph drawn before, scaled to this one
//   list NAME SIZE GLYPH...   an image list of SIZE by SIZE images in this order; "-" leaves an
//                             image empty
// A COLOR is #RRGGBB or #RRGGBBAA. Shapes paint over each other in their order, anti-aliased.
// Any fault in the description stops the build with its line number.
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

struct Color {
    double r = 0, g = 0, b = 0, a = 0;
};

// A shape in unit coordinates (0 to 1 across the glyph).
struct Shape {
    std::string kind;
    std::vector<double> v;
    Color color;
};

struct Glyph {
    std::string name;
    int size = 16;
    std::vector<Shape> shapes;
};

struct ImageList {
    std::string name;
    int size = 16;
    std::vector<std::string> glyphs;
};

struct Fault : std::runtime_error {
    using std::runtime_error::runtime_error;
};

Color ParseColor(const std::string& text) {
    if (text.size() != 7 && text.size() != 9) throw Fault("a colour is #RRGGBB or #RRGGBBAA: " + text);
    if (text[0] != '#') throw Fault("a colour starts with #: " + text);
    auto byte = [&](size_t at) {
        size_t used = 0;
        int v = std::stoi(text.substr(at, 2), &used, 16);
        if (used != 2) throw Fault("not a colour: " + text);
        return v / 255.0;
    };
    return {byte(1), byte(3), byte(5), text.size() == 9 ? byte(7) : 1.0};
}

double Number(const std::string& text) {
    size_t used = 0;
    double v = std::stod(text, &used);
    if (used != text.size() || !std::isfinite(v)) throw Fault("not a number: " + text);
    return v;
}

double SegmentDistance(double px, double py, double x0, double y0, double x1, double y1) {
    double dx = x1 - x0, dy = y1 - y0;
    double len = dx * dx + dy * dy;
    double t = len > 0 ? ((px - x0) * dx + (py - y0) * dy) / len : 0;
    t = t < 0 ? 0 : t > 1 ? 1 : t;
    double qx = x0 + t * dx - px, qy = y0 + t * dy - py;
    return std::sqrt(qx * qx + qy * qy);
}

// Whether the point (in unit coordinates) lies inside the shape.
bool Inside(const Shape& s, double x, double y) {
    const std::vector<double>& v = s.v;
    constexpr double kPi = 3.14159265358979323846;
    if (s.kind == "rect") return x >= v[0] && x < v[2] && y >= v[1] && y < v[3];
    if (s.kind == "frame") {
        bool outer = x >= v[0] && x < v[2] && y >= v[1] && y < v[3];
        bool inner = x >= v[0] + v[4] && x < v[2] - v[4] && y >= v[1] + v[4] && y < v[3] - v[4];
        return outer && !inner;
    }
    if (s.kind == "round") {
        if (!(x >= v[0] && x < v[2] && y >= v[1] && y < v[3])) return false;
        double r = v[4];
        double cx = x < v[0] + r ? v[0] + r : x > v[2] - r ? v[2] - r : x;
        double cy = y < v[1] + r ? v[1] + r : y > v[3] - r ? v[3] - r : y;
        return (x - cx) * (x - cx) + (y - cy) * (y - cy) <= r * r;
    }
    if (s.kind == "disc") return (x - v[0]) * (x - v[0]) + (y - v[1]) * (y - v[1]) <= v[2] * v[2];
    if (s.kind == "ring" || s.kind == "arc") {
        double d = std::sqrt((x - v[0]) * (x - v[0]) + (y - v[1]) * (y - v[1]));
        if (std::fabs(d - v[2]) > v[3] / 2) return false;
        if (s.kind == "ring") return true;
        double angle = std::atan2(y - v[1], x - v[0]) * 180 / kPi;
        double from = std::fmod(std::fmod(v[4], 360) + 360, 360);
        double sweep = v[5] - v[4];
        double at = std::fmod(std::fmod(angle - from, 360) + 360, 360);
        return sweep >= 360 || at <= sweep;
    }
    if (s.kind == "line") return SegmentDistance(x, y, v[0], v[1], v[2], v[3]) <= v[4] / 2;
    if (s.kind == "poly") {
        bool in = false;
        size_t n = v.size() / 2;
        for (size_t i = 0, j = n - 1; i < n; j = i++) {
            double xi = v[2 * i], yi = v[2 * i + 1], xj = v[2 * j], yj = v[2 * j + 1];
            if ((yi > y) != (yj > y) && x < (xj - xi) * (y - yi) / (yj - yi) + xi) in = !in;
        }
        return in;
    }
    return false;
}

// Straight (not premultiplied) RGBA, row 0 at the top.
struct Canvas {
    int width = 0, height = 0;
    std::vector<double> px;  // r, g, b, a
    Canvas(int w, int h) : width(w), height(h), px(static_cast<size_t>(w) * h * 4, 0.0) {}
};

void Paint(Canvas& canvas, int left, const Glyph& g) {
    constexpr int kGrid = 4;  // 16 samples a pixel
    for (const Shape& s : g.shapes) {
        for (int y = 0; y < g.size; ++y)
            for (int x = 0; x < g.size; ++x) {
                int hits = 0;
                for (int sy = 0; sy < kGrid; ++sy)
                    for (int sx = 0; sx < kGrid; ++sx)
                        hits += Inside(s, (x + (sx + 0.5) / kGrid) / g.size, (y + (sy + 0.5) / kGrid) / g.size);
                if (!hits) continue;
                double a = s.color.a * hits / (kGrid * kGrid);
                double* p = &canvas.px[(static_cast<size_t>(y) * canvas.width + left + x) * 4];
                double outA = a + p[3] * (1 - a);
                if (outA <= 0) continue;
                p[0] = (s.color.r * a + p[0] * p[3] * (1 - a)) / outA;
                p[1] = (s.color.g * a + p[1] * p[3] * (1 - a)) / outA;
                p[2] = (s.color.b * a + p[2] * p[3] * (1 - a)) / outA;
                p[3] = outA;
            }
    }
}

void Put32(std::string& out, uint32_t v) {
    for (int i = 0; i < 4; ++i) out += static_cast<char>((v >> (8 * i)) & 0xFF);
}
void Put16(std::string& out, uint16_t v) {
    out += static_cast<char>(v & 0xFF);
    out += static_cast<char>(v >> 8);
}

// A bottom-up 32-bit BMP whose fourth byte is the alpha.
void WriteBmp(const Canvas& c, const std::string& path) {
    std::string out;
    uint32_t image = static_cast<uint32_t>(c.width) * c.height * 4;
    out += "BM";
    Put32(out, 14 + 40 + image);
    Put32(out, 0);
    Put32(out, 14 + 40);
    Put32(out, 40);
    Put32(out, static_cast<uint32_t>(c.width));
    Put32(out, static_cast<uint32_t>(c.height));
    Put16(out, 1);
    Put16(out, 32);
    Put32(out, 0);  // BI_RGB
    Put32(out, image);
    Put32(out, 2835);
    Put32(out, 2835);
    Put32(out, 0);
    Put32(out, 0);
    auto byte = [](double v) { return static_cast<char>(static_cast<int>(std::lround(v * 255))); };
    for (int y = c.height - 1; y >= 0; --y)
        for (int x = 0; x < c.width; ++x) {
            const double* p = &c.px[(static_cast<size_t>(y) * c.width + x) * 4];
            out += byte(p[2]);
            out += byte(p[1]);
            out += byte(p[0]);
            out += byte(p[3]);
        }
    std::ofstream f(path, std::ios::binary);
    f << out;
    if (!f) throw std::runtime_error("cannot write " + path);
}

void WriteText(const std::string& path, const std::string& text) {
    std::ofstream out(path, std::ios::binary);
    out << text;
    if (!out) throw std::runtime_error("cannot write " + path);
}

struct Description {
    std::vector<Glyph> glyphs;
    std::vector<ImageList> lists;

    const Glyph* Find(const std::string& name) const {
        for (const Glyph& g : glyphs)
            if (g.name == name) return &g;
        return nullptr;
    }
};

Description Parse(std::istream& in) {
    Description d;
    std::string text;
    double units = 16;
    int number = 0;
    auto need = [](bool ok, const std::string& what) {
        if (!ok) throw Fault(what);
    };
    while (std::getline(in, text)) {
        ++number;
        try {
            size_t first = text.find_first_not_of(" \t\r");
            if (first == std::string::npos || text[first] == '#') continue;
            std::istringstream words(text);
            std::vector<std::string> w;
            for (std::string s; words >> s;) w.push_back(s);
            if (w.empty()) continue;
            const std::string& k = w[0];
            if (k == "glyph") {
                need(w.size() == 3 || w.size() == 4, "glyph NAME SIZE [UNITS]");
                need(!d.Find(w[1]), "the glyph " + w[1] + " is described twice");
                Glyph g;
                g.name = w[1];
                g.size = static_cast<int>(Number(w[2]));
                need(g.size >= 1 && g.size <= 256, "a glyph is 1 to 256 pixels");
                units = w.size() == 4 ? Number(w[3]) : g.size;
                need(units > 0, "UNITS is positive");
                d.glyphs.push_back(g);
                continue;
            }
            if (k == "list") {
                need(w.size() >= 4, "list NAME SIZE GLYPH...");
                ImageList l;
                l.name = w[1];
                l.size = static_cast<int>(Number(w[2]));
                need(l.size >= 1 && l.size <= 256, "a list's images are 1 to 256 pixels");
                for (size_t i = 3; i < w.size(); ++i) {
                    if (w[i] != "-") {
                        const Glyph* g = d.Find(w[i]);
                        need(g != nullptr, "no glyph " + w[i] + " was described before");
                        need(g->size == l.size, "the glyph " + w[i] + " is not " + w[2] + " pixels");
                    }
                    l.glyphs.push_back(w[i]);
                }
                d.lists.push_back(l);
                continue;
            }
            need(!d.glyphs.empty(), "a shape outside a glyph");
            Glyph& g = d.glyphs.back();
            if (k == "use") {
                need(w.size() == 2, "use NAME");
                const Glyph* other = d.Find(w[1]);
                need(other && other != &g, "no glyph " + w[1] + " was described before");
                g.shapes.insert(g.shapes.end(), other->shapes.begin(), other->shapes.end());
                continue;
            }
            static const std::map<std::string, size_t> counts = {{"rect", 4}, {"round", 5}, {"frame", 5}, {"disc", 3},
                                                                 {"ring", 4}, {"arc", 6},   {"line", 5}};
            Shape s;
            s.kind = k;
            if (k == "poly") {
                need(w.size() >= 8 && w.size() % 2 == 0, "poly COLOR X Y X Y X Y...");
                s.color = ParseColor(w[1]);
                for (size_t i = 2; i < w.size(); ++i) s.v.push_back(Number(w[i]) / units);
            } else {
                auto c = counts.find(k);
                need(c != counts.end(), "unknown statement " + k);
                need(w.size() == c->second + 2, k + " takes " + std::to_string(c->second) + " numbers and a colour");
                for (size_t i = 1; i <= c->second; ++i) {
                    double v = Number(w[i]);
                    // Angles stay in degrees.
                    bool angle = k == "arc" && i >= 5;
                    s.v.push_back(angle ? v : v / units);
                }
                s.color = ParseColor(w.back());
            }
            g.shapes.push_back(s);
        } catch (const Fault& f) {
            throw Fault("line " + std::to_string(number) + ": " + f.what());
        } catch (const std::invalid_argument&) {
            throw Fault("line " + std::to_string(number) + ": a number or colour is wrong");
        } catch (const std::out_of_range&) {
            throw Fault("line " + std::to_string(number) + ": a number is out of range");
        }
    }
    return d;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: corvelle-glyphc DESCRIPTION OUTPUT_FOLDER\n";
        return 2;
    }
    try {
        std::ifstream in(argv[1]);
        if (!in) throw std::runtime_error(std::string("cannot read ") + argv[1]);
        Description d = Parse(in);
        std::string dir = argv[2];
        std::string rc = "// Made by corvelle-glyphc from the glyphs' description.\n";
        std::string header =
            "#pragma once\n// Made by corvelle-glyphc from the glyphs' description: the resources that hold them.\n"
            "namespace win::res::catalog {\n"
            "struct TEntry { const char* name; int id; int size; int count; };\n";
        int id = 1000;
        header += "inline constexpr TEntry kLists[] = {\n";
        for (const ImageList& l : d.lists) {
            Canvas c(l.size * static_cast<int>(l.glyphs.size()), l.size);
            for (size_t i = 0; i < l.glyphs.size(); ++i)
                if (l.glyphs[i] != "-") Paint(c, static_cast<int>(i) * l.size, *d.Find(l.glyphs[i]));
            std::string file = "list-" + l.name + ".bmp";
            WriteBmp(c, dir + "/" + file);
            rc += std::to_string(id) + " BITMAP \"" + file + "\"\n";
            header += "    {\"" + l.name + "\", " + std::to_string(id) + ", " + std::to_string(l.size) + ", " +
                      std::to_string(l.glyphs.size()) + "},\n";
            ++id;
        }
        header += "};\ninline constexpr TEntry kGlyphs[] = {\n";
        id = 2000;
        for (const Glyph& g : d.glyphs) {
            Canvas c(g.size, g.size);
            Paint(c, 0, g);
            std::string file = "glyph-" + g.name + ".bmp";
            WriteBmp(c, dir + "/" + file);
            rc += std::to_string(id) + " BITMAP \"" + file + "\"\n";
            header += "    {\"" + g.name + "\", " + std::to_string(id) + ", " + std::to_string(g.size) + ", 1},\n";
            ++id;
        }
        header += "};\n}  // namespace win::res::catalog\n";
        WriteText(dir + "/Glyphs.rc", rc);
        WriteText(dir + "/GlyphCatalog.h", header);
        return 0;
    } catch (const std::exception& e) {
        std::cerr << "corvelle-glyphc: " << argv[1] << ": " << e.what() << "\n";
        return 1;
    }
}
