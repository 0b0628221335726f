// SPDX-License-Identifier: MIT
// A browser for tables: reads a CSV file and gives its records to a script.
//   browser table.csv script.js
#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <tavrin/Tavrin.h>
#include <tvscript/Engine.h>

#include "../common/Csv.h"

using namespace Tavrin;

namespace {

constexpr int outOfRange = 41;
constexpr int noSuchColumn = 80; // the first code that is free for hosts

// A record: the columns of the table are its properties, which scripts change and add to.
class Record : public LiveObject
{
public:
    Record() : LiveObject("Record", true) {}
};

// The whole file: its records by index.
class Table : public Bound<Table, LiveCollection>
{
public:
    Table() : Bound("Table", 0, true) {}

    int getLength(unsigned int &length) const override
    {
        length = static_cast<unsigned>(records.size());
        return 0;
    }
    int getByIndex(unsigned int index, Variant &out, Error *error) const override
    {
        if (index >= records.size())
            return setError(outOfRange, static_cast<int>(index), error, true);
        out = records[index].get();
        return 0;
    }

    Array getColumns() const
    {
        Array names;
        for (const String &column : columns)
            names += column;
        return names;
    }
    Outcome<Variant> at(unsigned index)
    {
        if (index >= records.size())
            return Failed{outOfRange};
        return Variant(records[index].get());
    }
    // The records that have the value in the column.
    Outcome<Array> where(const String &column, const Variant &value)
    {
        if (std::find(columns.begin(), columns.end(), column) == columns.end())
            return Failed{noSuchColumn};
        Array found;
        Variant field;
        for (const auto &record : records)
            if (record->get(column, field) == 0 && field == value)
                found += record.get();
        return found;
    }

    static constexpr Member members[] = {
        {"columns", property<&Table::getColumns>, "array\tThe names of the columns."},
        {"at", method<&Table::at>, "Record\tOne of the records.,index:uint"},
        {"where", method<&Table::where>, "array\tRecords by a value.,column:string,value:any"},
    };

    std::vector<String> columns;
    std::vector<InterfacePtr<Record>> records;
};

bool readFile(const char *name, String &text)
{
    std::ifstream file(name, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    return !file.fail() &&
           text.decode(bytes.data(), static_cast<int>(bytes.size()), &Encoder::getUtf8()) == 0;
}

// A field as what it looks like.
Variant valueOf(const String &field)
{
    const Variant number = Variant::scanDouble(field, 0, nullptr);
    return field.length() == 0 || number.isNaN() ? Variant(field) : number;
}

void readTable(String text, Table &table)
{
    text.convertLF(String::kLF);
    table.columns = fieldsOf(text.split('\n'));
    while (text.length() != 0) {
        const std::vector<String> fields = fieldsOf(text.split('\n'));
        auto record = InterfacePtr<Record>::adopt(new Record);
        for (std::size_t at = 0; at < std::min(fields.size(), table.columns.size()); ++at)
            record->put(table.columns[at], valueOf(fields[at]), kInfoReadWrite);
        table.records.push_back(std::move(record));
    }
}

const char *shown(const String &text)
{
    return text.encode(&Encoder::getUtf8());
}

int print(const Array &args, Variant &, Error *)
{
    std::printf("%s\n", shown(args[0].toString()));
    return 0;
}

int run(const char *tableFile, const char *scriptFile)
{
    Error::defineError(noSuchColumn, "there is no such column: %1", "ColumnError");
    String data;
    String script;
    for (const auto &[name, text] : {std::pair{tableFile, &data}, std::pair{scriptFile, &script}})
        if (!readFile(name, *text)) {
            std::printf("browser: cannot read %s\n", name);
            return 1;
        }
    const auto table = InterfacePtr<Table>::adopt(new Table);
    readTable(data, *table);

    TvScript::Engine engine;
    engine.setGlobal("table", *table);
    engine.setFunction("print", print);
    Variant result;
    Error error;
    if (engine.evaluate(script, scriptFile, result, &error) == 0)
        return 0;
    std::printf("%s", shown(TvScript::Engine::report(error)));
    return 1;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 3) {
        std::printf("usage: browser table.csv script.js\n");
        return 2;
    }
    InitTerm::init();
    const int code = run(argv[1], argv[2]);
    InitTerm::exit();
    return code;
}
