# SPDX-License-Identifier: MIT
# Writes the classes of the lookup benchmarks: the same names of properties as a list for Tavrin and
# GObject, and as a class of QObject, which moc has to see as text.

set(adjectives background current default first last line maximum minimum selected visible active
  average bottom centre inner left outer right total upper lower main next previous source)
set(nouns Color Width Height Name Index Count Offset Length Title Position Size Style State Mode
  Origin Range Scale Angle Weight Level Margin Padding Column Row Page Layer Frame Group Item Label
  Path Format Order Text Value Unit Time Date Owner Shape)

# bench_property_class(<count> <folder>): <folder>/Properties<count>.h and .inc.
function(bench_property_class count folder)
  set(list "")
  set(properties "")
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
    string(APPEND list "\"${name}\",\n")
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
endfunction()
