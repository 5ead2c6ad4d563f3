// param.cpp: the text form of a parameter and the way between its text and its typed value.
#include "params/param.h"

#include "arith/constant.h"
#include "arith/precision.h"
#include "arith/qq.h"
#include "base/log.h"
#include "base/stream.h"

#include <limits>
#include <sstream>
#include <type_traits>
#include <utility>

namespace latopt {

namespace {

// The text of a value, written with DBL_OSTREAM_PREC so that a long double reads back unchanged;
// a bool is "0" or "1".
template <class V>
std::string textOf(const V& value)
{
    std::ostringstream stream;
    DBL_OSTREAM_PREC(stream);
    stream << value;
    return stream.str();
}

// An infinity of long double in the parameter's type. The floating types keep it; QQ has its own
// two infinities. An integer can't hold one: it takes the end of its range in that direction, as
// the conversion of a long double beyond the range is undefined in the language.
template <class I>
requires std::is_integral_v<I>
void fromInfinity(long double infinity, I& target)
{
    if constexpr (std::is_same_v<I, bool>)
        target = true; // not zero
    else
        target = infinity > 0 ? std::numeric_limits<I>::max() : std::numeric_limits<I>::lowest();
}
void fromInfinity(long double infinity, float& target)
{
    target = static_cast<float>(infinity);
}
void fromInfinity(long double infinity, long double& target)
{
    target = infinity;
}
void fromInfinity(long double infinity, QQ& target)
{
    target = infinity;
}
template <class V>
void fromInfinity(long double infinity, MutexType<V>& target)
{
    V plain{};
    fromInfinity(infinity, plain);
    target.set(plain);
}

} // namespace

// ParamInfo

void ParamInfo::serialize(std::ostream& stream) const
{
    const std::string text = sval.get();
    if (text.empty()) return;
    stream << "--" << name << "=" << text;
}

void ParamInfo::unserialize(std::istream& stream)
{
    // 1. Up to the next token.
    skipOverCommentsAndSeparators(stream, " \t\r\n", nullptr);
    // 2. The two dashes, unseen: a token with one dash loses its first letter.
    stream.get();
    stream.get();
    // 3. One word: name "=" value; the value may hold further "=".
    std::string word;
    stream >> word;
    const std::string::size_type divide = word.find('=');
    if (divide == std::string::npos) fatal("Malformed parameter: " + word);
    name = word.substr(0, divide);
    sval.set(word.substr(divide + 1));
    svalChangeCallback();
}

// Param<T>

template <class T>
Param<T>::Param() : changeCallback([](const std::string&) {})
{
}

template <class T>
void Param<T>::init(const T& initial, std::string newName, std::string newDescription,
                    Array<std::string>& names, Hash<ParamInfo*>& registry)
{
    defaultVal = initial;
    init(std::move(newName), std::move(newDescription), names, registry);
}

template <class T>
void Param<T>::init(std::string newName, std::string newDescription, Array<std::string>& names,
                    Hash<ParamInfo*>& registry)
{
    name = std::move(newName);
    description = std::move(newDescription);
    *this = defaultVal;
    defaultValue = sval.get();
    registry(name) = this;
    names.setDimension(names.dimension() + 1, false);
    names[names.dimension()] = name;
    changeCallback = [](const std::string&) {};
}

template <class T>
Param<T>& Param<T>::operator=(const T& newValue)
{
    assignText(textOf(newValue));
    return *this;
}

template <class T>
void Param<T>::assignText(const std::string& text)
{
    sval.set(text);
    if (changeCallback) changeCallback(text);
    svalChangeCallback();
}

template <class T>
Param<T>& Param<T>::operator=(const Param& other)
{
    if (this == &other) return *this;
    value = other.value;
    sval.set(other.sval.get());
    return *this;
}

template <class T>
template <class U>
Param<T>& Param<T>::_assign(const Param<U>& other)
{
    if constexpr (std::is_same_v<T, U>) {
        return *this = other;
    } else {
        Precision::conv(other.value, value, false);
        // The source's text may not parse in this type ("1/3" into a long double): the text is
        // made from the converted value.
        sval.set(other.sval.get().empty() ? std::string() : textOf(value));
        return *this;
    }
}

template <class T>
bool Param<T>::isBoolean() const
{
    return std::is_same_v<T, bool>;
}

template <class T>
void Param<T>::svalChangeCallbackHack()
{
    const std::string text = sval.get();
    // 1.-2. The infinities, spelt as long double writes them.
    if (text == "-inf") {
        fromInfinity(-Constant<long double>::INF(), value);
        return;
    }
    if (text == "inf") {
        fromInfinity(Constant<long double>::INF(), value);
        return;
    }
    // 3. Any other text as the type's operator>> reads it.
    std::istringstream stream(text);
    stream >> value;
}

template <class T>
bool Param<T>::holdsWellFormedText() const
{
    const std::string text = sval.get();
    if (text == "-inf" || text == "inf") return true;
    std::istringstream stream(text);
    T probe{};
    stream >> probe;
    return !stream.fail() && (stream >> std::ws).eof();
}

// MutexParam<T>

template <class T>
MutexParam<T>& MutexParam<T>::operator=(const MutexParam& other)
{
    Param<MutexType<T>>::operator=(other);
    return *this;
}

template <class T>
void MutexParam<T>::init(const T& initial, std::string newName, std::string newDescription,
                         Array<std::string>& names, Hash<ParamInfo*>& registry)
{
    this->defaultVal.set(initial);
    Param<MutexType<T>>::init(std::move(newName), std::move(newDescription), names, registry);
}

template <class T>
MutexParam<T>& MutexParam<T>::operator=(const T& newValue)
{
    this->assignText(textOf(newValue));
    return *this;
}

// The closed set of parameter types, see param.h.
template class Param<bool>;
template class Param<long>;
template class Param<unsigned long>;
template class Param<float>;
template class Param<long double>;
template class Param<QQ>;
template class Param<MutexType<long>>;
template class MutexParam<long>;

template Param<long double>& Param<long double>::_assign<long double>(const Param<long double>&);
template Param<long double>& Param<long double>::_assign<QQ>(const Param<QQ>&);
template Param<QQ>& Param<QQ>::_assign<long double>(const Param<long double>&);
template Param<QQ>& Param<QQ>::_assign<QQ>(const Param<QQ>&);

} // namespace latopt
