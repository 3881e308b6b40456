#include "loop/loopTable.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <sstream>
#include <stdexcept>

#include "textFile.h"

namespace tarvonel
{

namespace
{

constexpr const char *heading = "loop\tfinished\thours\tpositions\twindow\terror_before\terror\tgames\tgain\tmargin\t"
                                "promoted\telo\n";

// The chart: two panels, one above the other, in pixels.
constexpr int chartWidth = 760;
constexpr int panelHeight = 240;
constexpr int leftEdge = 80;
constexpr int rightEdge = chartWidth - 20;
constexpr int topMargin = 36;
constexpr int bottomMargin = 36;
constexpr double mostTicks = 8;

struct range
{
    double low = 0;
    double high = 0;

    void include(double value)
    {
        low = std::min(low, value);
        high = std::max(high, value);
    }
};

/// The smallest of 1, 2 and 5 times a power of ten that gives at most `mostTicks` steps.
double tickStep(const range &values)
{
    const double raw = std::max(values.high - values.low, 1e-9) / mostTicks;
    const double power = std::pow(10.0, std::floor(std::log10(raw)));
    for (const double factor : {1.0, 2.0, 5.0})
        if (factor * power >= raw)
            return factor * power;
    return 10 * power;
}

struct panel
{
    std::ostringstream &out;
    int top;
    range x;
    range y;

    double across(double value) const { return leftEdge + (value - x.low) / (x.high - x.low) * (rightEdge - leftEdge); }
    double down(double value) const
    {
        const double bottom = top + panelHeight - bottomMargin;
        return bottom - (value - y.low) / (y.high - y.low) * (panelHeight - topMargin - bottomMargin);
    }

    void line(double x1, double y1, double x2, double y2, const char *style) const
    {
        out << "<line x1='" << across(x1) << "' y1='" << down(y1) << "' x2='" << across(x2) << "' y2='" << down(y2)
            << "' " << style << "/>\n";
    }

    void text(double left, double baseline, const char *anchor, const std::string &words) const
    {
        out << "<text x='" << left << "' y='" << baseline << "' text-anchor='" << anchor << "'>" << words
            << "</text>\n";
    }

    void dot(double atX, double atY, const char *fill) const
    {
        out << "<circle cx='" << across(atX) << "' cy='" << down(atY) << "' r='3.5' stroke='#1f4e9c' fill='" << fill
            << "'/>\n";
    }

    /// Title, grid and the figures along both axes.
    void frame(const std::string &title) const
    {
        text(leftEdge, top + 20, "start", title);
        const auto figure = [](double value)
        {
            std::ostringstream digits;
            digits << std::setprecision(6) << (std::abs(value) < 1e-12 ? 0 : value);
            return digits.str();
        };
        const double stepX = tickStep(x);
        for (double tick = std::ceil(x.low / stepX) * stepX; tick <= x.high * (1 + 1e-9); tick += stepX)
        {
            line(tick, y.low, tick, y.high, "stroke='#ddd'");
            text(across(tick), down(y.low) + 16, "middle", figure(tick));
        }
        const double stepY = tickStep(y);
        for (double tick = std::ceil(y.low / stepY) * stepY; tick <= y.high + stepY * 1e-9; tick += stepY)
        {
            line(x.low, tick, x.high, tick, "stroke='#ddd'");
            text(leftEdge - 6, down(tick) + 4, "end", figure(tick));
        }
    }
};

double millions(std::uint64_t positions) { return static_cast<double>(positions) / 1e6; }

range positionRange(const std::vector<loopRow> &rows)
{
    range x{0, 1e-6};
    for (const loopRow &row : rows)
        x.include(millions(row.positions));
    return x;
}

/// The best network as a line; each loop's network as a dot with its error bar, filled if promoted.
void drawElo(std::ostringstream &out, const std::vector<loopRow> &rows)
{
    panel elo{out, 0, positionRange(rows), {0, 1}};
    double best = 0;
    for (const loopRow &row : rows)
    {
        elo.y.include(best + row.gain - row.margin);
        elo.y.include(best + row.gain + row.margin);
        best = row.elo;
    }
    elo.frame("Elo over the first network (line: the best so far), by millions of new positions");
    best = 0;
    double lastX = 0;
    for (const loopRow &row : rows)
    {
        const double x = millions(row.positions);
        elo.line(lastX, best, x, row.elo, "stroke='#1f4e9c' stroke-width='2'");
        elo.line(x, best + row.gain - row.margin, x, best + row.gain + row.margin, "stroke='#1f4e9c'");
        elo.dot(x, best + row.gain, row.isPromoted ? "#1f4e9c" : "white");
        best = row.elo;
        lastX = x;
    }
}

void drawErrors(std::ostringstream &out, const std::vector<loopRow> &rows)
{
    panel errors{out, panelHeight, positionRange(rows), {}};
    errors.y = rows.empty() ? range{0, 1} : range{rows[0].error, rows[0].error + 1e-9};
    for (const loopRow &row : rows)
    {
        errors.y.include(row.error);
        errors.y.include(row.errorBefore);
    }
    errors.frame("Validation error (open: before training), by millions of new positions");
    for (const loopRow &row : rows)
    {
        const double x = millions(row.positions);
        errors.line(x, row.errorBefore, x, row.error, "stroke='#1f4e9c'");
        errors.dot(x, row.errorBefore, "white");
        errors.dot(x, row.error, "#1f4e9c");
    }
}

} // namespace

std::vector<loopRow> readTable(const std::string &path)
{
    std::vector<loopRow> rows;
    const std::vector<std::string> lines = readLines(path);
    for (std::size_t i = 1; i < lines.size(); ++i)
    {
        std::istringstream fields(lines[i]);
        loopRow row;
        fields >> row.loop >> std::ws;
        std::getline(fields, row.finished, '\t');
        fields >> row.hours >> row.positions >> row.window >> row.errorBefore >> row.error >> row.games >> row.gain >>
            row.margin >> row.isPromoted >> row.elo;
        if (!fields)
            throw std::runtime_error(path + ": line " + std::to_string(i + 1) + " is damaged");
        rows.push_back(row);
    }
    return rows;
}

void appendRow(const std::string &path, const loopRow &row)
{
    std::ostringstream text;
    if (readLines(path).empty())
        text << heading;
    text << row.loop << '\t' << row.finished << '\t' << row.hours << '\t' << row.positions << '\t' << row.window << '\t'
         << row.errorBefore << '\t' << row.error << '\t' << row.games << '\t' << row.gain << '\t' << row.margin << '\t'
         << row.isPromoted << '\t' << row.elo << '\n';
    appendText(path, text.str());
}

std::string chartText(const std::vector<loopRow> &rows)
{
    std::ostringstream out;
    out << "<svg xmlns='http://www.w3.org/2000/svg' width='" << chartWidth << "' height='" << 2 * panelHeight
        << "' font-family='sans-serif' font-size='12'>\n<rect width='100%' height='100%' fill='white'/>\n";
    drawElo(out, rows);
    drawErrors(out, rows);
    out << "</svg>\n";
    return out.str();
}

} // namespace tarvonel
