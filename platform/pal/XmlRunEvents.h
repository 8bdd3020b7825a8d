/// @file
/// The parser library's callbacks, and what they tell the handlers. Included by the run's sources alone.
#pragma once

#include "XmlRun.h"

namespace LumPalXml::SAX {

/// Static members are called by the library; `run` is its user data.
struct Run::Events {
    static void Register(XML_ParserStruct* parser);

    static void StartElement(void* run, const char* name, const char** attributes);
    static void EndElement(void* run, const char* name);
    static void StartPrefix(void* run, const char* prefix, const char* uri);
    static void EndPrefix(void* run, const char* prefix);
    static void Text(void* run, const char* text, int length);
    static void StartCdata(void* run);
    static void EndCdata(void* run);
    static void Instruction(void* run, const char* target, const char* data);
    static void Declaration(void* run, const char* version, const char* encoding, int standalone);
    static void StartDoctype(void* run, const char* name, const char* systemId, const char* publicId, int hasSubset);
    static void Entity(void* run, const char* name, int isParameter, const char* value, int length, const char* base,
                       const char* systemId, const char* publicId, const char* notation);
    static void Notation(void* run, const char* name, const char* base, const char* systemId, const char* publicId);
    static void Skipped(void* run, const char* name, int isParameter);
    static int External(XML_ParserStruct* parser, const char* context, const char* base, const char* systemId,
                        const char* publicId);

private:
    static Run& Of(void* run) noexcept { return *static_cast<Run*>(run); }
    static void TellExternal(Run& run, const char* publicId, const char* systemId, const LumPalStr::String_t& name);
    static void Skip(Run& run, const LumPalStr::String_t& name);
    static void CountDefaults(Run& run, const char** attributes);
};

}  // namespace LumPalXml::SAX
