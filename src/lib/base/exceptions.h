// exceptions.h: the exception classes. GeneralException carries one message; the others give a
// default text for an empty argument. The three precision subclasses append ": " and their
// argument to their default text. A handler for PrecisionException catches all four precision
// classes; they mean "redo this in exact arithmetic".
#pragma once

#include <exception>
#include <string>

namespace latopt {

class GeneralException : public std::exception {
public:
    explicit GeneralException(const std::string& message = "") : message(message) {}
    const char* what() const noexcept override { return message.c_str(); }

protected:
    GeneralException(const std::string& defaultText, const std::string& message)
        : message(message.empty() ? defaultText : message)
    {
    }
    std::string message;
};

class PrecisionException : public GeneralException {
public:
    explicit PrecisionException(const std::string& message = "")
        : GeneralException("Precision exception", message)
    {
    }

protected:
    // The subclasses' form: the default text, and ": " with the argument when there is one.
    struct Appended {};
    PrecisionException(Appended, const std::string& defaultText, const std::string& message)
        : GeneralException(defaultText, message.empty() ? defaultText : defaultText + ": " + message)
    {
    }
};

class PostCommaPrecisionException : public PrecisionException {
public:
    explicit PostCommaPrecisionException(const std::string& message = "")
        : PrecisionException(Appended{}, "PostCommaPrecision exception", message)
    {
    }
};

class PreCommaPrecisionException : public PrecisionException {
public:
    explicit PreCommaPrecisionException(const std::string& message = "")
        : PrecisionException(Appended{}, "PreCommaPrecision exception", message)
    {
    }
};

class FatalPrecisionException : public PrecisionException {
public:
    explicit FatalPrecisionException(const std::string& message = "")
        : PrecisionException(Appended{}, "FatalPrecisionException exception", message)
    {
    }
};

class ReadException : public GeneralException {
public:
    explicit ReadException(const std::string& message = "") : GeneralException("Read exception", message) {}
};

class DependencyException : public GeneralException {
public:
    explicit DependencyException(const std::string& message = "")
        : GeneralException("Dependency exception", message)
    {
    }
};

class RestartException : public GeneralException {
public:
    explicit RestartException(const std::string& message = "")
        : GeneralException("Restart exception", message)
    {
    }
};

} // namespace latopt
