#include "tests/component/server/type_library.h"

#include <iomanip>
#include <iterator>
#include <sstream>

namespace {

/// What a type description lends, given back in the end.
template <class Record, HRESULT (STDMETHODCALLTYPE ITypeInfo::*Get)(Record**),
          void (STDMETHODCALLTYPE ITypeInfo::*Release)(Record*)>
class LentOnce
{
public:
    explicit LentOnce(ITypeInfo* info) : info_(info) { EXPECT_HR(S_OK, (info->*Get)(&record_)); }
    ~LentOnce() { (info_.Get()->*Release)(record_); }
    LentOnce(const LentOnce&) = delete;
    LentOnce& operator=(const LentOnce&) = delete;
    const Record* operator->() const { return record_; }

private:
    ComPtr<ITypeInfo> info_;
    Record* record_ = nullptr;
};

template <class Record, HRESULT (STDMETHODCALLTYPE ITypeInfo::*Get)(UINT, Record**),
          void (STDMETHODCALLTYPE ITypeInfo::*Release)(Record*)>
class LentMember
{
public:
    LentMember(ITypeInfo* info, UINT index) : info_(info) { EXPECT_HR(S_OK, (info->*Get)(index, &record_)); }
    ~LentMember() { (info_.Get()->*Release)(record_); }
    LentMember(const LentMember&) = delete;
    LentMember& operator=(const LentMember&) = delete;
    const Record* operator->() const { return record_; }

private:
    ComPtr<ITypeInfo> info_;
    Record* record_ = nullptr;
};

using Attributes = LentOnce<TYPEATTR, &ITypeInfo::GetTypeAttr, &ITypeInfo::ReleaseTypeAttr>;
using Function = LentMember<FUNCDESC, &ITypeInfo::GetFuncDesc, &ITypeInfo::ReleaseFuncDesc>;
using Variable = LentMember<VARDESC, &ITypeInfo::GetVarDesc, &ITypeInfo::ReleaseVarDesc>;

std::string Narrow(BSTR text)
{
    return {text, text + SysStringLen(text)};
}

std::string TextOf(const GUID& guid)
{
    wchar_t text[40] = {};
    StringFromGUID2(guid, text, static_cast<int>(std::size(text)));
    return {text, text + wcslen(text)};
}

struct Documentation
{
    std::string name;
    std::string help;
};

Documentation DocumentationOf(ITypeInfo* info, MEMBERID member = MEMBERID_NIL)
{
    BSTR name = nullptr;
    BSTR help = nullptr;
    EXPECT_HR(S_OK, info->GetDocumentation(member, &name, &help, nullptr, nullptr));
    Documentation documentation = {Narrow(name), Narrow(help)};
    SysFreeString(name);
    SysFreeString(help);
    return documentation;
}

ComPtr<ITypeInfo> Referred(ITypeInfo* info, HREFTYPE reference)
{
    ComPtr<ITypeInfo> referred;
    EXPECT_HR(S_OK, info->GetRefTypeInfo(reference, &referred));
    return referred;
}

std::string NameOf(ITypeInfo* info, const TYPEDESC& type)
{
    switch (type.vt) {
    case VT_PTR:
        return NameOf(info, *type.lptdesc) + "*";
    case VT_USERDEFINED:
        return DocumentationOf(Referred(info, type.hreftype).Get()).name;
    case VT_I4:
        return "long";
    case VT_UI4:
        return "unsigned long";
    case VT_UI1:
        return "unsigned char";
    case VT_R8:
        return "double";
    case VT_BSTR:
        return "BSTR";
    case VT_VARIANT:
        return "VARIANT";
    case VT_HRESULT:
        return "HRESULT";
    case VT_VOID:
        return "void";
    default:
        return "type " + std::to_string(type.vt);
    }
}

std::string KindOf(const TYPEATTR& attributes)
{
    switch (attributes.typekind) {
    case TKIND_ENUM:
        return "enum";
    case TKIND_RECORD:
        return "struct";
    case TKIND_INTERFACE:
        return "interface";
    case TKIND_DISPATCH:
        return (attributes.wTypeFlags & TYPEFLAG_FDUAL) != 0 ? "dual interface" : "dispinterface";
    case TKIND_COCLASS:
        return "coclass";
    case TKIND_ALIAS:
        return "alias";
    default:
        return "kind " + std::to_string(attributes.typekind);
    }
}

/// A dual interface as a virtual table; other types as they are.
ComPtr<ITypeInfo> TableSide(ITypeInfo* info)
{
    const Attributes attributes(info);
    if (attributes->typekind != TKIND_DISPATCH || (attributes->wTypeFlags & TYPEFLAG_FDUAL) == 0)
        return info;
    HREFTYPE reference = 0;
    EXPECT_HR(S_OK, info->GetRefTypeOfImplType(static_cast<UINT>(-1), &reference));
    return Referred(info, reference);
}

void WriteParameter(std::ostream& out, ITypeInfo* info, const ELEMDESC& parameter, const std::string& name)
{
    const USHORT flags = parameter.paramdesc.wParamFlags;
    std::string attributes;
    const auto add = [&](USHORT flag, const char* text) {
        if ((flags & flag) != 0)
            attributes += (attributes.empty() ? "" : ", ") + std::string(text);
    };
    add(PARAMFLAG_FIN, "in");
    add(PARAMFLAG_FOUT, "out");
    add(PARAMFLAG_FRETVAL, "retval");
    add(PARAMFLAG_FOPT, "optional");
    out << "[" << attributes << "] " << NameOf(info, parameter.tdesc) << " " << name;
    if ((flags & PARAMFLAG_FHASDEFAULT) != 0) {
        const VARIANT& value = parameter.paramdesc.pparamdescex->varDefaultValue;
        out << " = ";
        if (value.vt == VT_R8)
            out << std::fixed << std::setprecision(1) << value.dblVal;
        else if (value.vt == VT_I4)
            out << value.lVal;
        else
            out << "type " << value.vt;
    }
}

void WriteFunction(std::ostream& out, ITypeInfo* info, UINT index, bool withIdentifier)
{
    const Function function(info, index);
    std::vector<BSTR> names(static_cast<size_t>(function->cParams) + 1);
    UINT known = 0;
    EXPECT_HR(S_OK, info->GetNames(function->memid, names.data(), static_cast<UINT>(names.size()), &known));
    if (withIdentifier)
        out << "0x" << std::hex << function->memid << std::dec << " ";
    if (function->invkind == INVOKE_PROPERTYGET)
        out << "get ";
    if (function->invkind == INVOKE_PROPERTYPUT)
        out << "put ";
    out << NameOf(info, function->elemdescFunc.tdesc) << " " << Narrow(names[0]) << "(";
    for (SHORT i = 0; i < function->cParams; ++i) {
        // What is put has no name of its own.
        const bool isPut = function->invkind == INVOKE_PROPERTYPUT && i + 1 == function->cParams;
        const size_t nameIndex = static_cast<size_t>(i) + 1;
        const std::string name = !isPut && nameIndex < known ? Narrow(names[nameIndex]) : "value";
        out << (i != 0 ? ", " : "");
        WriteParameter(out, info, function->lprgelemdescParam[i], name);
    }
    out << ")\n";
    for (UINT i = 0; i < known; ++i)
        SysFreeString(names[i]);
}

void WriteVariable(std::ostream& out, ITypeInfo* info, UINT index)
{
    const Variable variable(info, index);
    const std::string name = DocumentationOf(info, variable->memid).name;
    if (variable->varkind == VAR_CONST)
        out << name << " = " << variable->lpvarValue->lVal << "\n";
    else
        out << NameOf(info, variable->elemdescVar.tdesc) << " " << name << "\n";
}

void WriteImplemented(std::ostream& out, ITypeInfo* info, UINT index)
{
    INT flags = 0;
    EXPECT_HR(S_OK, info->GetImplTypeFlags(index, &flags));
    HREFTYPE reference = 0;
    EXPECT_HR(S_OK, info->GetRefTypeOfImplType(index, &reference));
    out << ((flags & IMPLTYPEFLAG_FDEFAULT) != 0 ? "default " : "")
        << ((flags & IMPLTYPEFLAG_FSOURCE) != 0 ? "source " : "")
        << DocumentationOf(Referred(info, reference).Get()).name << "\n";
}

bool HasHelp(ITypeInfo* info, MEMBERID member = MEMBERID_NIL)
{
    return !DocumentationOf(info, member).help.empty();
}

} // namespace

TypeLibraryText::TypeLibraryText(const wchar_t* path)
{
    EXPECT_HR(S_OK, LoadTypeLibEx(path, REGKIND_NONE, &library_));
}

std::string TypeLibraryText::Identity() const
{
    BSTR name = nullptr;
    BSTR help = nullptr;
    EXPECT_HR(S_OK, library_->GetDocumentation(-1, &name, &help, nullptr, nullptr));
    TLIBATTR* attributes = nullptr;
    EXPECT_HR(S_OK, library_->GetLibAttr(&attributes));
    std::ostringstream out;
    out << Narrow(name) << " " << attributes->wMajorVerNum << "." << attributes->wMinorVerNum << " "
        << TextOf(attributes->guid) << " " << Narrow(help);
    library_->ReleaseTLibAttr(attributes);
    SysFreeString(name);
    SysFreeString(help);
    return out.str();
}

std::vector<std::string> TypeLibraryText::Types() const
{
    std::vector<std::string> types;
    for (UINT i = 0; i < library_->GetTypeInfoCount(); ++i) {
        ComPtr<ITypeInfo> info;
        EXPECT_HR(S_OK, library_->GetTypeInfo(i, &info));
        const Attributes attributes(info.Get());
        types.push_back(KindOf(*attributes.operator->()) + " " + DocumentationOf(info.Get()).name);
    }
    return types;
}

std::string TypeLibraryText::Describe(const std::string& name) const
{
    for (UINT i = 0; i < library_->GetTypeInfoCount(); ++i) {
        ComPtr<ITypeInfo> info;
        EXPECT_HR(S_OK, library_->GetTypeInfo(i, &info));
        if (DocumentationOf(info.Get()).name != name)
            continue;
        const Attributes published(info.Get());
        const ComPtr<ITypeInfo> table = TableSide(info.Get());
        const Attributes attributes(table.Get());
        const bool isClass = attributes->typekind == TKIND_COCLASS;
        const bool isDispatch = published->typekind == TKIND_DISPATCH;

        std::ostringstream out;
        out << KindOf(*published.operator->()) << " " << name << " " << TextOf(attributes->guid);
        if (attributes->typekind == TKIND_INTERFACE) {
            HREFTYPE base = 0;
            EXPECT_HR(S_OK, table->GetRefTypeOfImplType(0, &base));
            out << " : " << DocumentationOf(Referred(table.Get(), base).Get()).name;
        }
        if (attributes->typekind == TKIND_RECORD)
            out << " of " << attributes->cbSizeInstance << " bytes";
        out << "\n";
        // An interface for events alone lists the members of IDispatch first.
        for (UINT f = 0; f < attributes->cFuncs; ++f) {
            if (attributes->typekind != TKIND_DISPATCH || Function(table.Get(), f)->memid < 0x60000000)
                WriteFunction(out, table.Get(), f, isDispatch);
        }
        for (UINT v = 0; v < attributes->cVars; ++v)
            WriteVariable(out, table.Get(), v);
        for (UINT t = 0; isClass && t < attributes->cImplTypes; ++t)
            WriteImplemented(out, table.Get(), t);
        return out.str();
    }
    return name + " is not there\n";
}

std::vector<std::string> TypeLibraryText::WithoutHelp() const
{
    std::vector<std::string> without;
    for (UINT i = 0; i < library_->GetTypeInfoCount(); ++i) {
        ComPtr<ITypeInfo> info;
        EXPECT_HR(S_OK, library_->GetTypeInfo(i, &info));
        const std::string name = DocumentationOf(info.Get()).name;
        const ComPtr<ITypeInfo> table = TableSide(info.Get());
        const Attributes attributes(table.Get());
        if (attributes->typekind != TKIND_RECORD && attributes->typekind != TKIND_ALIAS &&
            !HasHelp(info.Get()))
            without.push_back(name);
        for (UINT f = 0; f < attributes->cFuncs; ++f) {
            const MEMBERID member = Function(table.Get(), f)->memid;
            const bool inherited = attributes->typekind == TKIND_DISPATCH && member >= 0x60000000;
            if (!inherited && !HasHelp(table.Get(), member))
                without.push_back(name + "." + DocumentationOf(table.Get(), member).name);
        }
    }
    return without;
}
