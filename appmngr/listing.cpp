// Listings of the loaded tables, for a person to read.

#include "appmngr/appmngr.h"

#include <arpa/inet.h>
#include <stdio.h>

const char *g_appmngr_descXml = nullptr;

static const int32_t dumpWidth = 16; // bytes per line

/* ---- Fields -------------------------------------------------------------------------------- */

// All numbers are shown as signed ones.
static int asSigned(uint32_t number)
{
    return static_cast<int>(number);
}

static void showNumber(const char *label, int number)
{
    printf("%-25s%d\n", label, number);
}

static void showText(const char *label, const char *text)
{
    printf("%-25s%s\n", label, text);
}

// A text field that fills its array has no terminator.
template <size_t size> static void showField(const char *label, const char (&field)[size])
{
    printf("%-25s%.*s\n", label, static_cast<int>(size), field);
}

/* ---- Tables: no further than they reach ---------------------------------------------------- */

static uint32_t ruleCount()
{
    return g_appmngr_appDb.rule != nullptr ? g_appmngr_appDb.ruleCount : 0;
}

static uint32_t typeCount()
{
    return g_appmngr_appDb.type != nullptr ? g_appmngr_appDb.typeCount : 0;
}

static uint32_t appCount()
{
    if (g_appmngr_app == nullptr) {
        return 0;
    }
    return g_appmngr_count.appCur < g_appmngr_count.app ? g_appmngr_count.appCur
                                                        : g_appmngr_count.app;
}

/* ---- XML text ------------------------------------------------------------------------------ */

static int showXml(const char *title, const char *text)
{
    puts(title);
    puts("--------------------------------");
    if (text != nullptr) {
        puts(text);
    }
    return 0;
}

int appmngr_showXmlDb(void)
{
    return showXml("Show APP DB in xml format!", g_appmngr_xmlBuf);
}

int appmngr_showXmlDesc(void)
{
    return showXml("Show APP Desc in xml format!", g_appmngr_descXml);
}

/* ---- Rules --------------------------------------------------------------------------------- */

namespace
{
// What differs between the two listings of rules, on purpose.
struct RuleStyle {
    void (*showName)(const appmngr_app *app);
    void (*showAddress)(const char *label, uint32_t address);
};
} // namespace

static void showWideName(const appmngr_app *app)
{
    printf("%-25s %.*s\n\n", "name:", static_cast<int>(sizeof app->name), app->name);
}

static void showPlainName(const appmngr_app *app)
{
    printf("name: %.*s\n", static_cast<int>(sizeof app->name), app->name);
}

static void showRawAddress(const char *label, uint32_t address)
{
    showNumber(label, asSigned(address));
}

static void showDottedAddress(const char *label, uint32_t address)
{
    char text[INET_ADDRSTRLEN] = "";
    inet_ntop(AF_INET, &address, text, sizeof text);
    showText(label, text);
}

static const RuleStyle databaseStyle = {showWideName, showRawAddress};
static const RuleStyle appRulesStyle = {showPlainName, showDottedAddress};

static void showHeading()
{
    puts("======================");
    puts("Application Database");
    puts("======================");
    showField("Version:", g_appmngr_appDb.ver);
    showField("ProModel:", g_appmngr_appDb.proModel);
    showField("Expired:", g_appmngr_appDb.expired);
}

static void showFeature(const char *title, const appmngr_feature &feature)
{
    puts(title);
    showNumber("Enable:", feature.enable);
    showNumber("pkt_start:", feature.start);
    showNumber("pkt_end:", feature.end);
    showNumber("pkt_length:", feature.minlength);
    showField("DPI type:", feature.dpiType);
    showField("DPI code:", feature.dpiCode);
}

static void showRule(uint32_t index, const RuleStyle &style)
{
    const appmngr_rule &rule = g_appmngr_appDb.rule[index];
    showNumber("Rule index:", asSigned(index));
    puts("--------");
    showNumber("ID:", asSigned(rule.appId));
    const appmngr_app *app = appmngr_getAppById(rule.appId);
    if (app != nullptr) {
        style.showName(app);
    } else {
        puts("name: Not Found!!!");
    }
    showText("Protocol:", appmngr_protoName(rule.proto));
    style.showAddress("Source IP:", rule.sip);
    style.showAddress("Destination IP:", rule.dip);
    showNumber("Source Port:", rule.sport);
    showNumber("Destination Port:", rule.dport);
    showFeature("\nORIGINAL:", rule.orig);
    showFeature("\nREPLY:", rule.reply);
    putchar('\n');
}

int appmngr_showDb(void)
{
    showHeading();
    showNumber("App count:", asSigned(g_appmngr_appDb.appCount));
    showNumber("Rule count:", asSigned(g_appmngr_appDb.ruleCount));
    puts("+++++++++++++++++++++++++++");
    puts("\nAll Rules:");
    puts("---------------");
    for (uint32_t i = 0; i < ruleCount(); i++) {
        showRule(i, databaseStyle);
    }
    puts("+++++++++++++++++++++++++++");
    puts("All Types:");
    showNumber("Type count:", asSigned(g_appmngr_appDb.typeCount));
    puts("---------------");
    return 0;
}

int appmngr_showAppRules(uint32_t appId)
{
    showHeading();
    puts("+++++++++++++++++++++++++++");
    printf("\nAppId %d rules:\n", asSigned(appId));
    puts("---------------");
    for (uint32_t i = 0; i < ruleCount(); i++) {
        if (g_appmngr_appDb.rule[i].appId == appId) {
            showRule(i, appRulesStyle);
        }
    }
    return 0;
}

const char *appmngr_protoName(uint32_t proto)
{
    return appmngr_utils_proto2str(proto);
}

/* ---- Applications and types ---------------------------------------------------------------- */

// Kept on purpose, for both lists: the count is that of the applications, and one too high.
static int shownCount()
{
    return asSigned(g_appmngr_count.appCur + 1);
}

void appmngr_showApps(void)
{
    printf("--------------\nAll application [cnt = %d]\n\n", shownCount());
    for (uint32_t i = 0; i < appCount(); i++) {
        const appmngr_app &app = g_appmngr_app[i];
        printf("index = %5d, appid = %5d, visiable = [%d], name = [%.*s]\n", asSigned(i),
               asSigned(app.id), app.visible, static_cast<int>(sizeof app.name), app.name);
    }
    puts("--------------");
}

void appmngr_showAppTypes(void)
{
    printf("--------------\nAll app type [cnt = %d]\n\n", shownCount());
    for (uint32_t i = 0; i < typeCount(); i++) {
        const appmngr_appType &type = g_appmngr_appDb.type[i];
        printf("index = %5d, id =  %5d, name = [%.*s]\n", asSigned(i), asSigned(type.id),
               static_cast<int>(sizeof type.name), type.name);
        appmngr_dumpBuffer(type.appBitmap, sizeof type.appBitmap);
        putchar('\n');
    }
    puts("--------------");
}

void appmngr_dumpBuffer(const void *buffer, int32_t length)
{
    if (buffer == nullptr) {
        puts("===\r\nData is NULL!\r");
        return;
    }
    const auto *bytes = static_cast<const unsigned char *>(buffer);
    printf("\r\nBuffer\r\n===\r\naddr:0x%x\r\nlen:%d!\r\n",
           static_cast<unsigned>(reinterpret_cast<uintptr_t>(buffer)), length);
    for (int32_t i = 0; i < length; i++) {
        printf("%02x ", bytes[i]);
        if (i % dumpWidth == dumpWidth - 1) {
            puts("\r");
        }
    }
    puts("\r\n===============\r");
}
