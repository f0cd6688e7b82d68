/*
 * values.cpp - values by the tables' kinds
 */
#include "prepare/canonical/values.h"

#include <algorithm>
#include <cmath>

#include "prepare/canonical/scan.h"
#include "prepare/model/tokens.h"

namespace prepare {

namespace {

constexpr int PLACES = 9;

/* Is this a number as PostScript and PDF write it? */
bool isPlainSource(const std::string &source)
{
    Scanner scanner{source.data(), source.data() + source.size()};
    return !source.empty() && scanNumber(&scanner) && scanner.atEnd();
}

bool isWithin(double value, double low, double high)
{
    return value >= low && value <= high;
}

QPDFObjectHandle plainInteger(const Field &field, QPDFObjectHandle value)
{
    if (!value.isNumber())
        return QPDFObjectHandle::newNull();
    double number = numberOr(value, NAN);
    if (number != std::floor(number) || !isWithin(number, field.low, field.high))
        return QPDFObjectHandle::newNull();
    return QPDFObjectHandle::newInteger((long long)number);
}

QPDFObjectHandle plainNumbers(const Field &field, QPDFObjectHandle value)
{
    if (!value.isArray() || value.getArrayNItems() != field.count)
        return QPDFObjectHandle::newNull();
    std::vector<QPDFObjectHandle> numbers;
    for (int i = 0; i < field.count; i++) {
        QPDFObjectHandle item = value.getArrayItem(i);
        if (!item.isNumber() || !isWithin(numberOr(item, NAN), field.low, field.high))
            return QPDFObjectHandle::newNull();
        numbers.push_back(plainNumber(item, field.low, field.high));
    }
    return QPDFObjectHandle::newArray(numbers);
}

QPDFObjectHandle plainWord(const Field &field, QPDFObjectHandle value)
{
    std::string words = std::string(" ") + field.words + " ";
    if (!value.isName() || words.find(" " + value.getName().substr(1) + " ") == std::string::npos ||
        value.getName().find(' ') != std::string::npos)
        return QPDFObjectHandle::newNull();
    return QPDFObjectHandle::newName(value.getName());
}

} // namespace

QPDFObjectHandle plainNumber(QPDFObjectHandle number, double low, double high)
{
    double value = numberOr(number, 0);
    double held = std::clamp(value, low, high);
    if (number.isInteger() && held == value)
        return QPDFObjectHandle::newInteger((long long)value);
    if (number.isReal() && held == value && isPlainSource(number.getRealValue()))
        return QPDFObjectHandle::newReal(number.getRealValue());
    return QPDFObjectHandle::newReal(numberText(held, PLACES));
}

QPDFObjectHandle plainValue(const Field &field, QPDFObjectHandle value)
{
    switch (field.kind) {
    case ValueKind::INTEGER:
        return plainInteger(field, value);
    case ValueKind::NUMBER:
        if (value.isNumber() && isWithin(numberOr(value, NAN), field.low, field.high))
            return plainNumber(value, field.low, field.high);
        break;
    case ValueKind::NUMBERS:
        return plainNumbers(field, value);
    case ValueKind::BOOLEAN:
        if (value.isBool())
            return QPDFObjectHandle::newBool(value.getBoolValue());
        break;
    case ValueKind::WORD:
        return plainWord(field, value);
    }
    return QPDFObjectHandle::newNull();
}

QPDFObjectHandle plainDictionary(std::span<const Field> fields, QPDFObjectHandle source)
{
    QPDFObjectHandle plain = QPDFObjectHandle::newDictionary();
    for (const Field &field : fields)
        plain.replaceKey(field.key, plainValue(field, entryOf(source, field.key)));
    return plain;
}

QPDFObjectHandle newNumbers(std::initializer_list<double> numbers)
{
    QPDFObjectHandle array = QPDFObjectHandle::newArray();
    for (double number : numbers)
        array.appendItem(number == std::floor(number)
                             ? QPDFObjectHandle::newInteger((long long)number)
                             : QPDFObjectHandle::newReal(numberText(number, PLACES)));
    return array;
}

} // namespace prepare
