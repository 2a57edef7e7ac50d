// The chart variable's ties to the dictionary: formats and value labels of dictionary variables.
#include "platform/chart.h"
#include "platform/dictionary.h"

void XVariable::setFormat(int format) { setFormatWord(static_cast<unsigned int>(format)); }

void XVariable::setFormatBasedOnKWELVariable(KWEL_Variable const& variable) {
    setFormatWord(static_cast<unsigned int>(variable.GetFormat()));
}

void XVariable::setKWELVariable(KWEL_Variable const& variable) {
    // The dictionary's format stands unless the chart already has one of its own.
    if (!doesFormatExist()) setFormatBasedOnKWELVariable(variable);
}

void XVariable::addRelabel(double const& cell, unsigned short const* label) {
    ChartString key;
    key.assignDouble(cell, 16);
    addRelabel(key.xc_str(), label);
}
