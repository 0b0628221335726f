// SPDX-License-Identifier: MIT
// Makes objects of the lines of a CSV file, and does to them what another file says, by names and
// by object texts, as a script would. All messages are the library's.
//   records plants.csv lines.txt
#include <algorithm>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include <tavrin/Tavrin.h>

#include "../common/Csv.h"

using namespace Tavrin;

namespace {

constexpr int failedIO = 52;
constexpr int notEnough = 80; // the first code that is free for hosts

// One line of the file.
class Plant : public Bound<Plant>
{
public:
    Plant() : Bound("Plant") {}

    const String &getName() const { return name; }
    void start(const String &givenName) { name = givenName; }
    Outcome<double> sell(unsigned count)
    {
        if (count > stock)
            return Failed{notEnough};
        stock -= count;
        return count * price;
    }
    double compare(const Plant &other) const { return price - other.price; }

    String family;
    double height = 0;
    int month = 1;
    double price = 0;
    unsigned stock = 0;
    bool isPerennial = false;
    String note;

    static constexpr Member members[] = {
        {"", method<&Plant::start>, "Plant\tA new plant.,name:string\tIts name."},
        {"name", property<&Plant::getName>, "string\tThe name."},
        {"family", property<&Plant::family>, "string\tThe family."},
        {"height", property<&Plant::height>.between(0, 5000), "number;0;5000\tIn centimetres."},
        {"month", property<&Plant::month>.between(1, 12), "int;1;12\tWhen to sow it."},
        {"price", property<&Plant::price>.between(0, 1000), "number;0;1000\tOf a bag."},
        {"stock", property<&Plant::stock>, "uint\tHow many bags there are."},
        {"perennial", property<&Plant::isPerennial>, "bool\tWhether it comes again."},
        {"note", property<&Plant::note>, "string\tWhat else there is to say."},
        {"sell", method<&Plant::sell>.defaults(1), "number\tThe price.,count:uint;;;1\tBags."},
        {"compare", method<&Plant::compare>, "number\tBy price.,other:Plant\tAnother one."},
    };

private:
    String name;
};

// All plants, by index and by name.
class Garden : public Bound<Garden, LiveCollection>
{
public:
    Garden() : Bound("Garden", 0, true) {}

    int getLength(unsigned int &length) const override
    {
        length = static_cast<unsigned>(plants.size());
        return 0;
    }
    int getByIndex(unsigned int index, Variant &out, Error *error) const override
    {
        if (index >= plants.size())
            return setError(41, static_cast<int>(index), error, true);
        out = plants[index].get();
        return 0;
    }
    void add(InterfacePtr<Plant> plant) { plants.push_back(std::move(plant)); }

    Plant *find(std::u16string_view name) const
    {
        const auto found = std::find_if(plants.begin(), plants.end(), [&](const auto &plant) {
            return plant->getName() == name;
        });
        return found != plants.end() ? found->get() : nullptr;
    }
    double worth() const
    {
        double sum = 0;
        for (const auto &plant : plants)
            sum += plant->stock * plant->price;
        return sum;
    }
    Array ofFamily(std::u16string_view family) const
    {
        Array names;
        for (const auto &plant : plants)
            if (plant->family == family)
                names += plant->getName();
        return names;
    }

    static constexpr Member members[] = {
        {"find", method<&Garden::find>, "Plant\tBy its name; or null.,name:string"},
        {"worth", method<&Garden::worth>, "number\tThe price of everything."},
        {"ofFamily", method<&Garden::ofFamily>, "array\tNames.,family:string"},
    };

private:
    std::vector<InterfacePtr<Plant>> plants;
};

void print(const String &line)
{
    std::printf("%s\n", line.encode(&Encoder::getUtf8()));
}

// The lines of a file, without their ends.
int readLines(const char *name, std::vector<String> &lines)
{
    std::ifstream file(name);
    if (!file)
        return failedIO;
    for (std::string bytes; std::getline(file, bytes);) {
        String &line = lines.emplace_back();
        if (const int code = line.decode(bytes.c_str(), -1, &Encoder::getUtf8()))
            return code;
    }
    return 0;
}

// A field as what it looks like.
Variant valueOf(const String &field)
{
    if (field == "true" || field == "false")
        return field == "true";
    const Variant number = Variant::scanDouble(field, 0, nullptr);
    return field.length() == 0 || number.isNaN() ? Variant(field) : number;
}

int addPlant(Garden &garden, const std::vector<String> &names, const String &line, Error &error)
{
    const std::vector<String> fields = fieldsOf(line);
    auto plant = InterfacePtr<Plant>::adopt(new Plant);
    int code = plant->initialize(Array() += fields[0], &error);
    for (std::size_t at = 1; at < names.size() && at < fields.size() && code == 0; ++at)
        code = plant->put(names[at], valueOf(fields[at]), LiveObject::onlyKnown, &error);
    if (code == 0)
        garden.add(std::move(plant));
    return code;
}

int readPlants(Garden &garden, const char *fileName, Error &error)
{
    std::vector<String> lines;
    int code = readLines(fileName, lines);
    if (code == 0 && lines.empty())
        code = failedIO;
    if (code != 0) {
        error.push(code, nullptr);
        return code;
    }
    const std::vector<String> names = fieldsOf(lines[0]);
    for (std::size_t row = 1; row < lines.size() && code == 0; ++row)
        code = addPlant(garden, names, lines[row], error);
    return code;
}

// What comes after the name of an object: the objects that it knows by name are its values.
class Line
{
public:
    Line(Garden &garden, const String &text) : garden(garden), rest(text) {}

    int run(Variant &out, Error &error)
    {
        const String name = word();
        LiveObject *object =
            name == "garden" ? &garden : static_cast<LiveObject *>(garden.find(name));
        if (object == nullptr) {
            error.push(2, name, nullptr, true);
            return 2;
        }
        if (rest.find("{") == 0) {
            const int code = object->parse(rest, error, 1);
            return code != 0 ? code : showPlant(static_cast<Plant &>(*object), out);
        }
        rest.erase(0, 1); // the point
        const String member = word();
        if (rest.length() == 0)
            return object->get(member, out, &error);
        if (rest.find("(") == 0)
            return object->call(member, values(1, rest.length() - 2), out, &error);
        if (const int code = object->put(member, values(1)[0], LiveObject::onlyKnown, &error))
            return code;
        return object->get(member, out, &error);
    }

private:
    // The letters up to the next sign, and the blanks behind them.
    String word()
    {
        int end = 0;
        while (end < rest.length() && UnicodeUtils::iswalpha(rest[end]))
            ++end;
        String result = rest.substr(0, end);
        rest.erase(0, end);
        rest.strip();
        return result;
    }
    // The literals in a piece of the rest, or the plants of that name.
    Array values(int start, int length = -1) const
    {
        String text = rest.substr(start, length);
        text.strip();
        Array list;
        if (Plant *plant = garden.find(text))
            list += *plant;
        else
            list.parse(text, 0);
        return list;
    }
    static int showPlant(const Plant &plant, Variant &out)
    {
        String text;
        text.print("%ls, %.2f, month %d, %d bags, '%ls'", plant.getName().wstr(), plant.price,
                   plant.month, plant.stock, plant.note.wstr());
        out = text;
        return 0;
    }

    Garden &garden;
    String rest;
};

// The number of lines that have failed.
int runLines(Garden &garden, const std::vector<String> &lines)
{
    int failures = 0;
    for (const String &line : lines) {
        if (line.length() == 0 || line[0] == '#') {
            print(line);
            continue;
        }
        Variant out;
        Error error;
        String answer;
        if (Line(garden, line).run(out, error) == 0) {
            answer = out.getString();
        } else {
            error.getFullText(answer);
            ++failures;
        }
        String shown;
        shown.print("%-50ls %ls", line.wstr(), answer.wstr());
        print(shown);
    }
    return failures;
}

bool runFiles(const char *plantsName, const char *linesName)
{
    Error::defineError(notEnough, "There is not enough of it: %1", "RangeError");
    const auto garden = InterfacePtr<Garden>::adopt(new Garden);
    Error error;
    std::vector<String> lines;
    if (readPlants(*garden, plantsName, error) != 0 || readLines(linesName, lines) != 0) {
        String text;
        error.getFullText(text);
        std::fprintf(stderr, "records: %s\n", text.encode(&Encoder::getUtf8()));
        return false;
    }
    std::printf("%u plants, worth %.2f\n", garden->length(), garden->worth());
    const int failures = runLines(*garden, lines);
    std::printf("%d lines have failed; now all is worth %.2f\n", failures, garden->worth());
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: records plants.csv lines.txt\n");
        return 2;
    }
    InitTerm::init();
    const bool succeeded = runFiles(argv[1], argv[2]);
    InitTerm::exit();
    return succeeded ? 0 : 1;
}
