// The loaded tables as listings and as JSON, and the stamp that says when the database was built.

#include "appmngr/appmngr.h"

#include <arpa/inet.h>
#include <stdio.h>
#include <stdlib.h>

const char *g_appmngr_descXml;

uint32_t g_appmngr_dbYear;
uint32_t g_appmngr_dbMonth;
uint32_t g_appmngr_dbDay;
uint32_t g_appmngr_dbHour;
uint32_t g_appmngr_dbMinute;
uint32_t g_appmngr_dbSecond;
uint32_t g_appmngr_dbBuild;

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

// All numbers are shown as signed.
template <typename Number> static int asSigned(Number number)
{
    return static_cast<int>(number);
}

template <typename Number> static void showNumber(const char *label, Number number)
{
    printf("%-25s%d\n", label, asSigned(number));
}

// A text field that fills its array has no terminator.
template <size_t size> static void showField(const char *label, const char (&field)[size])
{
    printf("%-25s%.*s\n", label, static_cast<int>(size), field);
}

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

static void showDottedAddress(const char *label, uint32_t address)
{
    char text[INET_ADDRSTRLEN] = "";
    inet_ntop(AF_INET, &address, text, sizeof(text));
    showField(label, text);
}

// Kept on purpose: the listings of the database and of one application show names and addresses
// differently.
static void showRule(uint32_t index, bool inDatabase)
{
    const appmngr_rule &rule = g_appmngr_appDb.rule[index];
    showNumber("Rule index:", index);
    puts("--------");
    showNumber("ID:", rule.appId);
    const appmngr_app *app = appmngr_getAppById(rule.appId);
    if (app == nullptr) {
        puts("name: Not Found!!!");
    } else if (inDatabase) {
        printf("%-25s %.*s\n\n", "name:", static_cast<int>(sizeof(app->name)), app->name);
    } else {
        printf("name: %.*s\n", static_cast<int>(sizeof(app->name)), app->name);
    }
    printf("%-25s%s\n", "Protocol:", appmngr_protoName(rule.proto));
    const auto showAddress = inDatabase ? showNumber<uint32_t> : showDottedAddress;
    showAddress("Source IP:", rule.sip);
    showAddress("Destination IP:", rule.dip);
    showNumber("Source Port:", rule.sport);
    showNumber("Destination Port:", rule.dport);
    showFeature("\nORIGINAL:", rule.orig);
    showFeature("\nREPLY:", rule.reply);
    putchar('\n');
}

// The counts may promise tables that are not there.
static uint32_t ruleCount()
{
    return g_appmngr_appDb.rule != nullptr ? g_appmngr_appDb.ruleCount : 0;
}

int appmngr_showDb(void)
{
    showHeading();
    showNumber("App count:", g_appmngr_appDb.appCount);
    showNumber("Rule count:", g_appmngr_appDb.ruleCount);
    puts("+++++++++++++++++++++++++++");
    puts("\nAll Rules:");
    puts("---------------");
    for (uint32_t i = 0; i < ruleCount(); i++) {
        showRule(i, true);
    }
    puts("+++++++++++++++++++++++++++");
    puts("All Types:");
    showNumber("Type count:", g_appmngr_appDb.typeCount);
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
            showRule(i, false);
        }
    }
    return 0;
}

const char *appmngr_protoName(uint32_t proto)
{
    return appmngr_utils_proto2str(proto);
}

// Kept on purpose: both lists show the number of applications, and one too many.
static void showListHeading(const char *what)
{
    printf("--------------\nAll %s [cnt = %d]\n\n", what, asSigned(g_appmngr_count.appCur + 1));
}

void appmngr_showApps(void)
{
    showListHeading("application");
    const uint32_t count = g_appmngr_app != nullptr ? g_appmngr_count.app : 0;
    for (uint32_t i = 0; i < count && i < g_appmngr_count.appCur; i++) {
        const appmngr_app &app = g_appmngr_app[i];
        printf("index = %5d, appid = %5d, visiable = [%d], name = [%.*s]\n", asSigned(i),
               asSigned(app.id), app.visible, static_cast<int>(sizeof(app.name)), app.name);
    }
    puts("--------------");
}

void appmngr_showAppTypes(void)
{
    showListHeading("app type");
    const uint32_t count = g_appmngr_appDb.type != nullptr ? g_appmngr_appDb.typeCount : 0;
    for (uint32_t i = 0; i < count; i++) {
        const appmngr_appType &type = g_appmngr_appDb.type[i];
        printf("index = %5d, id =  %5d, name = [%.*s]\n", asSigned(i), asSigned(type.id),
               static_cast<int>(sizeof(type.name)), type.name);
        appmngr_dumpBuffer(type.appBitmap, sizeof(type.appBitmap));
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
        if (i % 16 == 15) {
            puts("\r");
        }
    }
    puts("\r\n===============\r");
}

// Texts are written as they are: a quote or a backslash in one of them makes the JSON ill-formed.
static void writeFeature(FILE *file, const appmngr_feature &feature)
{
    fprintf(file, "\"enable\":%d, \"start\":%d, \"end\":%d, \"len\":%d,\n", feature.enable,
            feature.start, feature.end, feature.minlength);
    fprintf(file, "\"type\":\"%.*s\", \"rule\":\"%.*s\"\n",
            static_cast<int>(sizeof(feature.dpiType)), feature.dpiType,
            static_cast<int>(sizeof(feature.dpiCode)), feature.dpiCode);
}

static void writeRule(FILE *file, const appmngr_rule &rule)
{
    // Unlike in the listings, only these two have a name.
    const char *proto = rule.proto == IPPROTO_TCP   ? "tcp"
                        : rule.proto == IPPROTO_UDP ? "udp"
                                                    : "none";
    fprintf(file, "{\n\"appname\":\"\",\n\"appid\":%d,\n\"tuple\":{\n", asSigned(rule.appId));
    fprintf(file, "\"sip\":%d, \"dip\":%d, \"sport\":%d, \"dport\":%d,\n", asSigned(rule.sip),
            asSigned(rule.dip), rule.sport, rule.dport);
    fprintf(file, "\"proto\":\"%s\"\n},\n\"feature\":{\n\"orig\":{\n", proto);
    writeFeature(file, rule.orig);
    fputs("},\n\"reply\":{\n", file);
    writeFeature(file, rule.reply);
    fputs("}\n}\n}", file);
}

void appmngr_writeJson(FILE *file)
{
    fputs("{\n\"dpi_rules\":[\n", file);
    for (uint32_t i = 0; i < ruleCount(); i++) {
        writeRule(file, g_appmngr_appDb.rule[i]);
        fputs(i + 1 < ruleCount() ? ",\n" : "\n", file);
    }
    fputs("]\n}\n", file);
}

void appmngr_exportJson(void)
{
    FILE *file = fopen("database.json", "w");
    if (file == nullptr) {
        perror("open database.json failed!\n");
        exit(-1);
    }
    appmngr_writeJson(file);
    fclose(file);
    puts("Create JSON-Format database success!");
}

int appmngr_getDbVersionString(char *out)
{
    if (out == nullptr) {
        return -1;
    }
    snprintf(out, APPMNGR_VERSION_STRING_SIZE, "%d#%04d-%02d-%02d %02d:%02d:%02d",
             asSigned(g_appmngr_dbBuild), asSigned(g_appmngr_dbYear), asSigned(g_appmngr_dbMonth),
             asSigned(g_appmngr_dbDay), asSigned(g_appmngr_dbHour), asSigned(g_appmngr_dbMinute),
             asSigned(g_appmngr_dbSecond));
    return 0;
}

uint32_t appmngr_getDbBuild(void)
{
    return g_appmngr_dbBuild;
}
