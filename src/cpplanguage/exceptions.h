#pragma once

#include "cpplanguage/appmsg.h"
#include "cpplanguage/deletable.h"
#include "cpplanguage/orlostring.h"

#include <exception>
#include <memory>

namespace CppLanguage {

// Root of every failure the library raises. Copies share the nested object and the message
// record.
class COrloException : public std::exception {
public:
    COrloException(const char* file, int line, const char* date, const char* time,
                   const ORLO::String& message);
    COrloException(const char* file, int line, const char* date, const char* time,
                   const ORLO::String& message, const IAppMsg* appMsg);
    ~COrloException() override = default;

    const char* what() const noexcept override { return message_.c_str(); }
    virtual ORLO::String GetFile() const { return file_; }
    virtual int GetLine() const { return line_; }
    virtual ORLO::String GetDate() const { return date_; }
    virtual ORLO::String GetTime() const { return time_; }
    virtual ORLO::String GetMessage() const { return message_; }
    virtual IDeletable* GetNested() const { return nested_.get(); }
    virtual const IAppMsg* GetAppMsg() const { return appMsg_.get(); }
    // "Exception <class> thrown at <detail>".
    virtual ORLO::String GetDescription() const;
    const ORLO::String& GetDetail() const { return detail_; }

private:
    ORLO::String message_;
    ORLO::String file_;
    int line_;
    ORLO::String date_;
    ORLO::String time_;
    std::shared_ptr<IDeletable> nested_;
    std::shared_ptr<const CAppMsg> appMsg_;
    ORLO::String detail_;
};

class CRuntimeException : public COrloException {
public:
    using COrloException::COrloException;
};

// Declares a failure class that adds nothing but its type.
#define CPPLANGUAGE_DECLARE_EXCEPTION(Name, Base)                                                  \
    class Name : public Base {                                                                     \
        using BaseException = Base;                                                                \
                                                                                                   \
    public:                                                                                        \
        using BaseException::BaseException;                                                        \
    }

} // namespace CppLanguage
