// The rules as a JSON file. Texts are written as they are: a quote or a backslash in one of them
// makes the file ill-formed.

#include "appmngr/appmngr.h"

#include <netinet/in.h>
#include <stdio.h>
#include <stdlib.h>

// Unlike in the listings, only these two have a name.
static const char *jsonProtoName(uint8_t proto)
{
    switch (proto) {
    case IPPROTO_TCP:
        return "tcp";
    case IPPROTO_UDP:
        return "udp";
    default:
        return "none";
    }
}

static void writeFeature(FILE *file, const appmngr_feature &feature)
{
    fprintf(file, "\"enable\":%d, \"start\":%d, \"end\":%d, \"len\":%d,\n", feature.enable,
            feature.start, feature.end, feature.minlength);
    fprintf(file, "\"type\":\"%.*s\", \"rule\":\"%.*s\"\n",
            static_cast<int>(sizeof feature.dpiType), feature.dpiType,
            static_cast<int>(sizeof feature.dpiCode), feature.dpiCode);
}

static void writeTuple(FILE *file, const appmngr_rule &rule)
{
    fprintf(file, "\"sip\":%d, \"dip\":%d, \"sport\":%d, \"dport\":%d,\n",
            static_cast<int>(rule.sip), static_cast<int>(rule.dip), rule.sport, rule.dport);
    fprintf(file, "\"proto\":\"%s\"\n", jsonProtoName(rule.proto));
}

static void writeRule(FILE *file, const appmngr_rule &rule)
{
    fprintf(file, "{\n\"appname\":\"\",\n\"appid\":%d,\n\"tuple\":{\n",
            static_cast<int>(rule.appId));
    writeTuple(file, rule);
    fputs("},\n\"feature\":{\n\"orig\":{\n", file);
    writeFeature(file, rule.orig);
    fputs("},\n\"reply\":{\n", file);
    writeFeature(file, rule.reply);
    fputs("}\n}\n}", file);
}

void appmngr_writeJson(FILE *file)
{
    const appmngr_appDb &db = g_appmngr_appDb;
    uint32_t count = db.rule != nullptr ? db.ruleCount : 0;
    fputs("{\n\"dpi_rules\":[\n", file);
    for (uint32_t i = 0; i < count; i++) {
        writeRule(file, db.rule[i]);
        fputs(i + 1 < count ? ",\n" : "\n", file);
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
