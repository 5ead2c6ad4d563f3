// param.h: ParamInfo, a setting with a name, a help text and a text form; Param<T>, the typed
// setting; MutexParam<T>, the typed setting whose value is itself behind a lock.
// A parameter keeps two forms of its value: the text sval, behind its own Lock, which may be
// written from another thread (a host of the engine), and the typed value, which is brought up to
// date from the text by svalChangeCallback() on the search's main path. Every write through
// operator=(const T&) passes through the text: the value is what the text parses to, so the two
// agree after every assignment.
// Text form: "--name=value"; a parameter with an empty text writes nothing. The reader takes
// two characters (the dashes) unseen and one word; a word without "=" is fatal
// ("Malformed parameter: " and the word). The first "=" divides name and value: "--a=b=c" gives
// the value "b=c".
// The texts "inf" and "-inf" mean the infinities of long double, converted to T: QQ's infinities,
// and for the integer types the largest and the lowest value of the type (an unsigned type takes
// 0 for "-inf").
// Every parameter costs one kernel semaphore for its text (os/mutex.h), MutexParam two more (its
// value and its default). Copies across number types (_assign) go through Precision::conv.
// Instances: Param<bool>, Param<long>, Param<unsigned long>, Param<float>, Param<long double>,
// Param<QQ>, MutexParam<long>; other types do not link.
#pragma once

#include "base/array.h"
#include "base/map.h"
#include "base/serializable.h"
#include "os/mutex.h"

#include <functional>
#include <istream>
#include <ostream>
#include <string>

namespace latopt {

template <class T>
class Constant;

class ParamInfo : public Serializable {
public:
    std::string separators = ",";
    std::string name;
    std::string description;     // the help text, with its see-also tail
    std::string defaultValue;    // the text of the default, as init() found it in sval
    MutexType<std::string> sval; // the current text; empty: the parameter holds no value

    ParamInfo() = default;
    ParamInfo(const ParamInfo&) = default;
    ParamInfo& operator=(const ParamInfo&) = default;
    ~ParamInfo() override = default;

    // "--" name "=" sval; nothing at all when sval is empty.
    void serialize(std::ostream& stream) const override;
    // Skips comments and white space, takes two characters, reads one word and divides it at its
    // first "=" into name and sval; then svalChangeCallback(). A word without "=" is fatal.
    void unserialize(std::istream& stream) override;
    // True for the switches, which a command line may give without a value.
    virtual bool isBoolean() const { return false; }
    // Brings sval into the typed value; a bare ParamInfo has none.
    virtual void svalChangeCallback() {}
    // The text is a value of the parameter's type as a whole ("inf", "-inf", or what operator>>
    // reads up to its end). The reader itself takes any text (operator>> keeps what it could
    // read); a command line checks with this that nothing was lost.
    virtual bool holdsWellFormedText() const { return true; }

    // The texts differ. Each text is read under its own lock; no lock is held across both.
    bool operator!=(const ParamInfo& other) const { return sval.get() != other.sval.get(); }
    // The texts are equal (the probe of Precision::conv compares parameters so).
    bool operator==(const ParamInfo& other) const { return sval.get() == other.sval.get(); }
    // sval equals text.
    bool operator==(const std::string& text) const { return sval.get() == text; }
};

template <class T>
class Param : public ParamInfo {
public:
    using ChangeCallback = std::function<void(const std::string&)>;

    T defaultVal{};
    T value{};                     // current iff svalChangeCallback() ran after the last text change
    ChangeCallback changeCallback; // called with every new text that operator=(const T&) makes

    Param();
    // A parameter belongs to one owner's registry, which holds its address: no copies, only
    // assignment of the value and text.
    Param(const Param&) = delete;
    ~Param() override = default;

    // Stores defaultVal, then the form below.
    void init(const T& defaultValue, std::string name, std::string description, Array<std::string>& names,
              Hash<ParamInfo*>& registry);
    // Stores name and description, assigns defaultVal through operator= (value and sval), keeps
    // the text as defaultValue, registers the parameter under name, appends name to names and
    // installs a change callback that does nothing.
    void init(std::string name, std::string description, Array<std::string>& names,
              Hash<ParamInfo*>& registry);

    // The value as text into sval (under its lock), changeCallback(text), then
    // svalChangeCallback(), which parses the text into value.
    Param& operator=(const T& newValue);
    // Copies value and text; name, description, default, registration and callback stay.
    Param& operator=(const Param& other);
    // The same across number types: the value through Precision::conv without probe, the text
    // made anew from the converted value (an empty text stays empty), so that text and value
    // still agree.
    template <class U>
    Param& _assign(const Param<U>& other);
    void setChangeCallback(ChangeCallback callback) { changeCallback = std::move(callback); }

    bool isBoolean() const override;
    void svalChangeCallback() override { svalChangeCallbackHack(); }
    bool holdsWellFormedText() const override;
    // Reads sval under its lock: "-inf" and "inf" give the infinities of long double converted
    // to T; any other text is parsed with operator>> into T.
    void svalChangeCallbackHack();

protected:
    // sval = text (under its lock), changeCallback(text), svalChangeCallback().
    void assignText(const std::string& text);
};

// A setting whose value is read by the thread that ends a run by time while another writes it.
template <class T>
class MutexParam : public Param<MutexType<T>> {
public:
    using Param<MutexType<T>>::init;
    using Param<MutexType<T>>::operator=;

    MutexParam() = default;
    MutexParam(const MutexParam&) = delete;
    MutexParam& operator=(const MutexParam& other);

    void init(const T& defaultValue, std::string name, std::string description, Array<std::string>& names,
              Hash<ParamInfo*>& registry);
    MutexParam& operator=(const T& newValue);
    // The value, read under its lock.
    T get() const { return this->value.get(); }
};

template <>
class Constant<ParamInfo*> {
public:
    static ParamInfo* ZERO() { return nullptr; }
};

} // namespace latopt
