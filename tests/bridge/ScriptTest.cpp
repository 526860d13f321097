// SPDX-License-Identifier: MIT
#include "tests/bridge/ScriptTest.h"

#include <filesystem>
#include <stdexcept>

#include <dlfcn.h>

namespace orseltest {

namespace {

/// The bridge loads the same file, and so meets the same script.
ModuleScript& ScriptIn(void* library) {
    if (library == nullptr) {
        throw std::runtime_error(dlerror());
    }
    return *reinterpret_cast<ScriptGetter>(dlsym(library, SCRIPT_GETTER))();
}

} // namespace

void ScriptTest::Closer::operator()(void* library) const {
    dlclose(library);
}

ScriptTest::ScriptTest()
    : m_Library(dlopen(ORSEL_SCRIPTED_MODULE, RTLD_NOW | RTLD_LOCAL)), m_Script(ScriptIn(m_Library.get())) {
    m_Script = {};
    Answer("");
}

ScriptTest::~ScriptTest() {
    m_Bridge.reset(); // calls the module
    m_Script = {};
}

void ScriptTest::Start() {
    m_Bridge.emplace();
    m_Session = m_Bridge->Open(ModuleScript::SLOT);
    m_Script.m_Heard.clear();
}

void ScriptTest::Set(const std::string& json) {
    std::filesystem::create_directories(m_Folder.Path("orselcards"));
    m_Folder.File("orselcards/bridge.json", json);
}

void ScriptTest::Add(CK_OBJECT_HANDLE handle, CK_OBJECT_CLASS objectClass, const std::string& label,
                     tokenlib::AttributeMap others) {
    others[CKA_CLASS] = tokenlib::NumberValue(objectClass);
    others[CKA_LABEL] = tokenlib::BytesOf(label);
    if (objectClass == CKO_PRIVATE_KEY) {
        others.emplace(CKA_PRIVATE, tokenlib::FlagValue(true));
    }
    m_Script.m_Objects[handle] = std::move(others);
}

void ScriptTest::AddPair(CK_OBJECT_HANDLE handle, unsigned char id, const std::string& label) {
    const Bytes modulus(128, 0xC5);
    Add(handle, CKO_PRIVATE_KEY, label, {{CKA_ID, {id}}, {CKA_SIGN, tokenlib::FlagValue(true)}});
    Add(handle + 100, CKO_PUBLIC_KEY, label,
        {{CKA_ID, {id}},
         {CKA_VERIFY, tokenlib::FlagValue(true)},
         {CKA_KEY_TYPE, tokenlib::NumberValue(CKK_RSA)},
         {CKA_MODULUS, modulus}});
}

std::vector<std::string> ScriptTest::HeardOf(const std::string& function) const {
    std::vector<std::string> calls;
    for (const std::string& call : m_Script.m_Heard) {
        if (call.compare(0, function.size() + 1, function + " ") == 0) {
            calls.push_back(call);
        }
    }
    return calls;
}

Rv ScriptTest::Command(CK_OBJECT_HANDLE object, const std::vector<CK_ATTRIBUTE_TYPE>& types,
                       bool flag) const {
    CK_BBOOL value = flag ? CK_TRUE : CK_FALSE;
    std::vector<CK_ATTRIBUTE> attributes;
    for (const CK_ATTRIBUTE_TYPE type : types) {
        attributes.push_back({type, &value, sizeof value});
    }
    return Call().C_SetAttributeValue(m_Session, object, attributes.data(), attributes.size());
}

} // namespace orseltest
