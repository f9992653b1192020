#include "srccldb/cattrval.h"

#include <cstring>

#include "errors/nyxerror.h"
#include "srccldb/callframe.h"
#include "srcldb/ldbobject.h"

namespace {

constexpr int32_t kErrorUnknownAttrKind = 1113;

}  // namespace

const CAPIAttrVariant kCAPIAttrItemVariant = {false, "srccldb/cattrval"};
const CAPIAttrVariant kCAPIAttrObjectVariant = {true, "srccldb/cattrval_ws"};

int32_t CAPIAttrValueToC(PDMc_LDBValue& value, PDMAttrValue* record, bool keepString,
                         const CAPIAttrVariant& variant) {
    std::memset(&record->value, 0, sizeof record->value);
    switch (value.GetKind()) {
        case PDMc_LDBValue::kNone: record->kind = PDM_ATTR_NONE; break;
        case PDMc_LDBValue::kInteger:
            record->kind = PDM_ATTR_INTEGER;
            record->value.i = value.GetInteger();
            break;
        case PDMc_LDBValue::kDouble: {
            // By bytes, so that a NaN keeps its payload on every host.
            double real = value.GetDouble();
            record->kind = PDM_ATTR_DOUBLE;
            std::memcpy(&record->value.d, &real, sizeof real);
            break;
        }
        case PDMc_LDBValue::kBoolean:
            record->kind = PDM_ATTR_BOOLEAN;
            record->value.b = value.GetBoolean() ? 1 : 0;
            break;
        case PDMc_LDBValue::kString: {
            const char* text = value.GetString().c_str();
            record->kind = PDM_ATTR_STRING;
            record->value.s = keepString ? PDMKeepString(text) : text;
            break;
        }
        case PDMc_LDBValue::kDateTime:
            record->kind = PDM_ATTR_DATETIME;
            record->value.dt = static_cast<PDMDateTime>(value.GetDateTime());
            break;
        case PDMc_LDBValue::kObject:
            if (variant.objects) {
                record->kind = PDM_ATTR_OBJECT;
                record->value.obj = reinterpret_cast<LDBObjectHandle>(value.GetObject());
                break;
            }
            [[fallthrough]];
        default:
            record->kind = PDM_ATTR_NONE;
            nyxErrorPushInternal("CAPIAttrValueToC", variant.sourcePath, __LINE__);
            break;
    }
    return nyxErrorCurrentCode();
}

int32_t CAPIAttrValueFromC(const PDMAttrValue* record, PDMc_LDBValue& value,
                           const CAPIAttrVariant& variant) {
    switch (record->kind) {
        case PDM_ATTR_NONE: value.Clear(); break;
        case PDM_ATTR_INTEGER: value.SetInteger(record->value.i); break;
        case PDM_ATTR_DOUBLE: {
            double real;
            std::memcpy(&real, &record->value.d, sizeof real);
            value.SetDouble(real);
            break;
        }
        case PDM_ATTR_BOOLEAN: value.SetBoolean(record->value.b != 0); break;
        case PDM_ATTR_STRING: value.SetString(record->value.s); break;
        case PDM_ATTR_DATETIME: value.SetDateTime(static_cast<uint32_t>(record->value.dt)); break;
        case PDM_ATTR_OBJECT:
            if (variant.objects) {
                // A handle is the object's own address; a null one is kept as a null reference.
                value.SetReference(
                    PDMc_LDBRef(reinterpret_cast<PDMc_LDBObject*>(record->value.obj)));
                break;
            }
            [[fallthrough]];
        default:
            value.Clear();
            nyxErrorReport(kErrorUnknownAttrKind, record->kind);
            break;
    }
    return nyxErrorCurrentCode();
}
