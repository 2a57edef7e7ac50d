#pragma once
// The client's Java side: the text of a Java string, for the native method of the chart
// builder.

#include <jni.h>

#include <string>

class JNIAccessor {
public:
    explicit JNIAccessor(JNIEnv* env) : env_(env) {}

    // The string's text in the encoding named; "utf-8" (any case) is the one there is, and
    // others are read as UTF-8 too, the local code page of this host. Empty for a null string.
    std::string FromJString(jstring text, char const* encoding) const;

private:
    JNIEnv* env_;
};
