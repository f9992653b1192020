#include "ctargets.h"

#include "nyxstring.h"
#include "srcldb/ldbattr.h"
#include "srcldb/ldbconnection.h"
#include "srcldb/ldbcontainer.h"
#include "srcldb/ldblpi.h"

PDMc_LAD* PDMFindAttrDef(PDMc_LDBObject* object, const char* name) {
    PDMc_LDB* connection = PDMc_LDB::FromOwner(object->GetOwner());
    if (connection == nullptr) return nullptr;
    nyxString key(name);
    return LDBObjectAs<PDMc_LAD>(connection->FindAttrDef(key.c_str()));
}

PDMc_LAD* PDMFindOrCreateAttrDef(PDMc_LDBObject* object, const char* name) {
    PDMc_LDB* connection = PDMc_LDB::FromOwner(object->GetOwner());
    if (connection == nullptr) {
        nyxErrorPushInternal("an object without a connection", "srccldb/ctargets", __LINE__);
        return nullptr;
    }
    // The name may live in a value that the creation moves.
    nyxString key(name);
    PDMc_LDBObject* found = connection->FindAttrDef(key.c_str());
    // The creation's duplicate error can't arise: the name was just looked up.
    if (found == nullptr) found = connection->CreateAttrDef(key.c_str());
    return LDBObjectAs<PDMc_LAD>(found, true);
}

int32_t PDMAttributeNames(nyxCollection& values, int* count, const char** names) {
    int index = 0;
    int32_t rc = LDBForEachElement<PDMc_LAV>(values, [&](PDMc_LAV* value) {
        PDMc_LAD* definition = value->GetAttrDef();
        if (definition == nullptr) return nyxErrorCurrentCode();
        if (names != nullptr) names[index] = definition->GetName().c_str();
        ++index;
        return 0;
    });
    *count = index;
    return rc;
}

PDMc_LPITD* PDMFindOrCreateTypeDef(PDMc_LDB* connection, const char* typeName) {
    nyxString type(typeName);
    PDMc_LDBObject* found = connection->FindItemTypeDef(type.c_str());
    if (found == nullptr)
        found = connection->CreateItemTypeDef(type.c_str(), type.c_str(), "", "", "");
    return LDBObjectAs<PDMc_LPITD>(found, true);
}
