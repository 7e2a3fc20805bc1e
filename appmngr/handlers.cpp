// The handlers of the application database: what each element writes into the tables.
//
// The counting pass goes by exact paths and the walk by names alone, so a document may hold more
// elements than were counted. Every handler first asks for its record and does nothing if it would
// lie past the table.

#include "appmngr/appmngr_internal.h"

#include <arpa/inet.h>

static appmngr_app *currentApp()
{
    return g_appmngr_app != nullptr && g_appmngr_count.appCur < g_appmngr_count.app
               ? &g_appmngr_app[g_appmngr_count.appCur]
               : nullptr;
}

static appmngr_appType *currentType()
{
    return g_appmngr_appDb.type != nullptr && g_appmngr_count.typeCur < g_appmngr_appDb.typeCount
               ? &g_appmngr_appDb.type[g_appmngr_count.typeCur]
               : nullptr;
}

// The rule record at offset from the cursor.
static appmngr_rule *ruleAt(uint32_t offset)
{
    const uint64_t at = uint64_t{g_appmngr_count.ruleCur} + offset;
    return g_appmngr_appDb.rule != nullptr && at < g_appmngr_appDb.ruleCount
               ? &g_appmngr_appDb.rule[at]
               : nullptr;
}

// The signature of the direction that the context names.
static appmngr_feature *currentFeature(appmngr_context context)
{
    appmngr_rule *rule = ruleAt(0);
    if (rule == nullptr || context > 1) {
        return nullptr;
    }
    return context == 0 ? &rule->orig : &rule->reply;
}

// The rule's tuple counter, null if the context is not one.
static uint32_t *tupleCounter(appmngr_context context)
{
    // A context is a word that may be an address.
    return context > 1 ? reinterpret_cast<uint32_t *>(context) : nullptr; // NOLINT(*-no-int-to-ptr)
}

template <auto text> static int readHeader(XmlpNode *node, appmngr_context /*context*/)
{
    return appmngr_getNodeString(node, g_appmngr_appDb.*text, sizeof(g_appmngr_appDb.*text));
}

static int readUnsigned(const XmlpNode *node, uint32_t *out)
{
    int32_t number;
    if (appmngr_getNodeInt(node, &number) != 0) {
        return -1;
    }
    *out = static_cast<uint32_t>(number);
    return 0;
}

static int readId(XmlpNode *node, appmngr_context context)
{
    appmngr_app *app = context == 0 ? currentApp() : nullptr;
    appmngr_appType *type = context == 1 ? currentType() : nullptr;
    if (app != nullptr) {
        return readUnsigned(node, &app->id);
    }
    return type != nullptr ? readUnsigned(node, &type->id) : -1;
}

static int readName(XmlpNode *node, appmngr_context context)
{
    appmngr_app *app = context == 0 ? currentApp() : nullptr;
    appmngr_appType *type = context == 1 ? currentType() : nullptr;
    if (app != nullptr) {
        return appmngr_getNodeString(node, app->name, sizeof(app->name));
    }
    return type != nullptr ? appmngr_getNodeString(node, type->name, sizeof(type->name)) : -1;
}

static int readVisible(XmlpNode *node, appmngr_context /*context*/)
{
    appmngr_app *app = currentApp();
    return app != nullptr ? appmngr_getNodeInt(node, &app->visible) : -1;
}

static void leaveApp(appmngr_context /*context*/)
{
    g_appmngr_count.appCur += currentApp() != nullptr ? 1 : 0;
}

static void leaveAppType(appmngr_context /*context*/)
{
    g_appmngr_count.typeCur += currentType() != nullptr ? 1 : 0;
}

static int _appmngr_xmlnode_handler_typeid(XmlpNode *node, appmngr_context /*context*/)
{
    const appmngr_app *app = currentApp();
    int32_t id;
    if (app == nullptr || appmngr_getNodeInt(node, &id) != 0) {
        return -1;
    }
    appmngr_appType *type = _appmngr_getAppTypeBydId(static_cast<uint32_t>(id));
    if (type == nullptr) {
        APPMNGR_ERROR(1102, "_appmngr_getAppTypeBydId FAILED\n");
        return -1;
    }
    if (app->id >= APPMNGR_APP_ID_LIMIT) {
        return -1;
    }
    appmngr_setBit(type->appBitmap, app->id);
    return 0;
}

static int readDnsKw(XmlpNode *node, appmngr_context /*context*/)
{
    const appmngr_app *app = currentApp();
    if (node == nullptr || app == nullptr || g_appmngr_count.dnsCur >= g_appmngr_appDns.count) {
        return -1;
    }
    appmngr_dnsRule *rule = &g_appmngr_appDns.rule[g_appmngr_count.dnsCur++];
    rule->appId = app->id;
    return appmngr_getNodeString(node, rule->keyword, sizeof(rule->keyword));
}

// A rule's tuples are consecutive records from the cursor on; the first holds its signatures.
static void leaveRule(appmngr_context context)
{
    const uint32_t count = *tupleCounter(context);
    const appmngr_app *app = currentApp();
    appmngr_rule *first = ruleAt(0);
    if (app == nullptr || first == nullptr) {
        return;
    }
    first->appId = app->id;
    uint32_t used = count > 0 ? 1 : 0;
    for (; used < count; used++) {
        appmngr_rule *rule = ruleAt(used);
        if (rule == nullptr) { // an inner rule moved the cursor
            break;
        }
        rule->appId = first->appId;
        rule->orig = first->orig;
        rule->reply = first->reply;
    }
    g_appmngr_count.ruleCur += used;
}

// Parses "address:port"; the address 0 means any. On failure *invalid is the text that is not an
// address, or null if text is not such a pair.
static int parseEndpoint(char *text, uint32_t *address, uint16_t *port, const char **invalid)
{
    char *parts[3];
    *invalid = nullptr;
    if (appmngr_string_makeSubStrByChar(text, ':', 3, parts) != 2) {
        return -1;
    }
    struct in_addr parsed = {};
    if (!appmngr_string_match(parts[0], "0") && inet_pton(AF_INET, parts[0], &parsed) != 1) {
        *invalid = parts[0];
        return -1;
    }
    *address = parsed.s_addr;
    *port = static_cast<uint16_t>(appmngr_atoi(parts[1]));
    return 0;
}

// Parses "proto source:port destination:port". Kept on purpose: what an invalid tuple wrote before
// its fault stays in the record for the next one.
static int _appmngr_xmlnode_handler_tuple(XmlpNode *node, appmngr_context context)
{
    uint32_t *count = tupleCounter(context);
    appmngr_rule *rule = count != nullptr ? ruleAt(*count) : nullptr;
    if (node == nullptr || rule == nullptr) {
        return -1;
    }
    char work[64];
    if (appmngr_getNodeString(node, work, sizeof(work)) != 0) {
        APPMNGR_ERROR(1247, "Not tuple string found!\n");
        return -1;
    }
    char *parts[4];
    if (appmngr_string_makeSubStrByChar(work, ' ', 4, parts) != 3) {
        APPMNGR_ERROR(1268, "Not match [proto ip:port ip:port] format!\n");
        return -1;
    }
    uint32_t proto = appmngr_utils_str2proto(parts[0]);
    if (proto == APPMNGR_PROTO_UNKNOWN) {
        APPMNGR_ERROR(1280, "appmngr_utils_str2proto failed!\n");
        return -1;
    }
    rule->proto = static_cast<uint8_t>(proto);
    const char *invalid;
    if (parseEndpoint(parts[1], &rule->sip, &rule->sport, &invalid) != 0) {
        if (invalid == nullptr) {
            APPMNGR_ERROR(1295, "ucm_string_makeSubStrByChar failed!\n");
        } else {
            APPMNGR_ERROR(1318, "inet_pton failed! str = [%s]\n", invalid);
        }
        return -1;
    }
    if (parseEndpoint(parts[2], &rule->dip, &rule->dport, &invalid) != 0) {
        if (invalid == nullptr) {
            APPMNGR_ERROR(1343, "Analyze the dest pair ip failed!\n");
        } else {
            APPMNGR_ERROR(1362, "inet_pton failed, str = [%s]!\n", invalid);
        }
        return -1;
    }
    (*count)++;
    return 0;
}

template <int32_t appmngr_feature::*number>
static int readFeatureInt(XmlpNode *node, appmngr_context context)
{
    appmngr_feature *feature = currentFeature(context);
    return feature != nullptr ? appmngr_getNodeInt(node, &(feature->*number)) : -1;
}

template <auto text> static int readFeatureText(XmlpNode *node, appmngr_context context)
{
    appmngr_feature *feature = currentFeature(context);
    if (feature == nullptr) {
        return -1;
    }
    (void)appmngr_getNodeString(node, feature->*text, sizeof(feature->*text));
    return 0;
}

enum { CHILDREN, WITH_ZERO, WITH_ONE, APP, APP_TYPE, RULE };

template <int which> static int walk(XmlpNode *node, appmngr_context context)
{
    return _appmngr_walk(&_appmngr_containers[which], node, context);
}

extern const appmngr_container _appmngr_containers[] = {
    {walk<CHILDREN>, APPMNGR_SAME, nullptr},
    {walk<WITH_ZERO>, APPMNGR_ZERO, nullptr},
    {walk<WITH_ONE>, APPMNGR_ONE, nullptr},
    {walk<APP>, APPMNGR_SAME, leaveApp},
    {walk<APP_TYPE>, APPMNGR_SAME, leaveAppType},
    {walk<RULE>, APPMNGR_OWN_COUNT, leaveRule},
    {},
};

extern const appmngr_tagHandler _appmngr_appDbHandlers[] = {
    {"AppDB", walk<CHILDREN>},
    {"ver", readHeader<&appmngr_appDb::ver>},
    {"proModel", readHeader<&appmngr_appDb::proModel>},
    {"expired", readHeader<&appmngr_appDb::expired>},
    {"appList", walk<WITH_ZERO>},
    {"app", walk<APP>},
    {"id", readId},
    {"name", readName},
    {"visible", readVisible},
    {"typeIdList", walk<CHILDREN>},
    {"typeId", _appmngr_xmlnode_handler_typeid},
    {"ruleList", walk<CHILDREN>},
    {"rule", walk<RULE>},
    {"tupleList", walk<CHILDREN>},
    {"tuple", _appmngr_xmlnode_handler_tuple},
    {"ori", walk<WITH_ZERO>},
    {"rep", walk<WITH_ONE>},
    {"enable", readFeatureInt<&appmngr_feature::enable>},
    {"segment", walk<CHILDREN>},
    {"start", readFeatureInt<&appmngr_feature::start>},
    {"end", readFeatureInt<&appmngr_feature::end>},
    {"minlength", readFeatureInt<&appmngr_feature::minlength>},
    {"dpiType", readFeatureText<&appmngr_feature::dpiType>},
    {"dpiCode", readFeatureText<&appmngr_feature::dpiCode>},
    {"appTypeList", walk<WITH_ONE>},
    {"appType", walk<APP_TYPE>},
    {"dnsKwList", walk<CHILDREN>},
    {"dnsKw", readDnsKw},
    {nullptr, nullptr},
};
