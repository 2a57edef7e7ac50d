// Java strings for the native method of the chart builder.
#include "platform/jni_accessor.h"

#include "platform/chart_string.h"

std::string JNIAccessor::FromJString(jstring text, char const*) const {
    if (env_ == nullptr || text == nullptr) return {};
    // The UTF-16 of the string itself: the "modified UTF-8" of GetStringUTFChars differs from
    // UTF-8 for characters beyond the first plane and for NUL.
    jsize const length = env_->GetStringLength(text);
    std::u16string units(static_cast<std::size_t>(length), u'\0');
    env_->GetStringRegion(text, 0, length, reinterpret_cast<jchar*>(units.data()));
    if (env_->ExceptionCheck()) return {};
    return ChartString(std::move(units)).toUTF8();
}
