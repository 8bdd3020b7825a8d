/// @file
/// SOAP arguments as text: what one writes, and one filled from a message.
#pragma once

#include <stdexcept>
#include <string>

#include "LumPalIo.h"
#include "LumVoxSoap.h"

/// An envelope around a method element that holds the text.
inline std::string SoapMessage(const std::string& inside) {
    return "<e:Envelope xmlns:e=\"http://schemas.xmlsoap.org/soap/envelope/\"><e:Body><call>" + inside +
           "</call></e:Body></e:Envelope>";
}

/// What a request carries between the tags of the argument.
inline std::string Written(LumVoxSoap::SOAPArg& argument) {
    LumPalIo::CharArrayOutputStream_t bytes;
    LumVoxSoap::SOAPArg* const arguments[] = {&argument};
    LumVoxSoap::SOAPEnvelope envelope;
    envelope.SetMethod("call");
    envelope.SetArgs(1, arguments);
    envelope.Write(bytes);
    const std::string text(bytes.ToCharArray().View()), name = argument.GetName().ToUtf8();
    const std::size_t begin = text.find("<" + name + ">") + name.size() + 2, end = text.rfind("</" + name + ">");
    if (begin > end || end == std::string::npos) throw std::runtime_error("the argument is not written");
    return text.substr(begin, end - begin);
}

/// Fills the argument from a message with this text inside the method element.
inline void ReadMessage(LumVoxSoap::SOAPArg& argument, const std::string& inside) {
    const std::string text = SoapMessage(inside);
    const LumPalArray::CharArray_t bytes(text.data(), text.size());
    LumVoxSoap::SOAPArg* const arguments[] = {&argument};
    LumVoxSoap::SOAPEnvelope().Read(LumPalIo::CharArrayInputStream_t::Over(bytes), 1, arguments);
}

/// Fills the argument from a message that has this text between the argument's tags.
inline void ReadArgument(LumVoxSoap::SOAPArg& argument, const std::string& inside) {
    const std::string name = argument.GetName().ToUtf8();
    ReadMessage(argument, "<" + name + ">" + inside + "</" + name + ">");
}
