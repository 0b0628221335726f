# SPDX-License-Identifier: MIT
# Writes the classes of the lookup benchmarks: the same names of properties as a list for Tavrin and
# GObject, and as a class of QObject, which moc has to see as text.

set(adjectives background current default first last line maximum minimum selected visible active
  average bottom centre inner left outer right total upper lower main next previous source)
set(nouns Color Width Height Name Index Count Offset Length Title Position Size Style State Mode
  Origin Range Scale Angle Weight Level Margin Padding Column Row Page Layer Frame Group Item Label
  Path Format Order Text Value Unit Time Date Owner Shape)

# bench_property_class(<count> <folder>): <folder>/Properties<count>.h and .inc with the names;
# Objects<count>.h, a class of QObject with a field for each, and Hosts<count>.h, the same as a
# LiveObject by hand, as a bound class, and as a class with a virtual function.
function(bench_property_class count folder)
  set(list "")
  set(properties "")
  foreach(piece members fields rows reads writes plainReads bound)
    set(${piece} "")
  endforeach()
  math(EXPR last "${count} - 1")
  foreach(index RANGE ${last})
    math(EXPR adjective "${index} % 25")
    math(EXPR noun "(${index} / 25 * 3 + ${adjective}) % 40")
    math(EXPR series "${index} / 1000")
    list(GET adjectives ${adjective} name)
    list(GET nouns ${noun} second)
    string(APPEND name ${second})
    if(series)
      string(APPEND name ${series})
    endif()
    math(EXPR id "${index} + 1")
    string(APPEND list "\"${name}\",\n")
    string(APPEND members "    Q_PROPERTY(int ${name} MEMBER ${name})\n")
    string(APPEND fields "    int ${name} = ${id};\n")
    string(APPEND rows "        {\"${name}\", ${id}, Tavrin::kInfoReadWrite, \"int\"},\n")
    string(APPEND reads "        case ${id}: out = ${name}; return 0;\n")
    string(APPEND writes "        case ${id}: return store(${name}, id, value, error);\n")
    string(APPEND plainReads "        case ${id}: out = ${name}; return true;\n")
    string(APPEND bound "        {\"${name}\", property<&BoundHost${count}::${name}>, \"int\"},\n")
    string(APPEND properties "    Q_PROPERTY(int ${name} READ value)\n")
  endforeach()
  file(CONFIGURE OUTPUT ${folder}/Properties${count}.inc CONTENT "${list}" @ONLY)
  file(CONFIGURE OUTPUT ${folder}/Properties${count}.h @ONLY CONTENT "#pragma once

#include <QObject>

class Properties${count} : public QObject
{
    Q_OBJECT
${properties}
public:
    int value() const { return 1; }
};
")
  file(CONFIGURE OUTPUT ${folder}/Objects${count}.h @ONLY CONTENT "#pragma once

#include <QObject>

class Objects${count} : public QObject
{
    Q_OBJECT
${members}
public:
    Q_INVOKABLE double scaled(double by) { return factor *= by; }
    double factor = 1;

${fields}};
")
  file(CONFIGURE OUTPUT ${folder}/Hosts${count}.h @ONLY CONTENT "#pragma once

#include \"LiveHost.h\"

class Host${count} : public bench::LiveHost
{
public:
    Host${count}() { setPropertyManager(&table()); }

    static const Tavrin::LivePropertyManager &table()
    {
        static constexpr Tavrin::LivePropertyInfo rows[] = {
${rows}        {\"scaled\", scaledID, Tavrin::kInfoMethod, \"number,by:number\"},
        {nullptr, 0, 0, nullptr},
        };
        static const Tavrin::LivePropertyManager manager(rows);
        return manager;
    }
    int get(int id, Tavrin::Variant &out, Tavrin::Error *error) const override
    {
        switch (isValid() ? id : 0) {
${reads}        }
        return LiveObject::get(id, out, error);
    }
    int put(int id, const Tavrin::Variant &value, Tavrin::Error *error) override
    {
        switch (isValid() ? id : 0) {
${writes}        }
        return LiveObject::put(id, value, error);
    }
    using LiveObject::get;
    using LiveObject::put;

${fields}};

class BoundHost${count} : public Tavrin::Bound<BoundHost${count}>
{
public:
    BoundHost${count}() : Bound(\"Host\") {}

    double scaled(double by) { return factor *= by; }
    double factor = 1;
${fields}
    static constexpr Member members[] = {
${bound}        {\"scaled\", method<&BoundHost${count}::scaled>, \"number,by:number\"},
    };
};

class VirtualHost${count} : public bench::VirtualHost
{
public:
    bool get(int id, int &out) const override
    {
        switch (id) {
${plainReads}        }
        return false;
    }
    bool call(double by, double &result) override
    {
        result = factor *= by;
        return true;
    }
    double factor = 1;
${fields}};
")
endfunction()
