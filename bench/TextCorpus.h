// Seeded source of realistic string constants for the benchmarks: messages, markup, queries,
// paths and identifiers built from one shared vocabulary, so that texts share words, phrases
// and fragments the way the texts of a real program do, while every text stays distinct.
#ifndef TARN_BENCH_TEXTCORPUS_H
#define TARN_BENCH_TEXTCORPUS_H

#include <cstdint>
#include <random>
#include <string>
#include <unordered_set>

class TextCorpus {
  public:
    // Texts of 'min_length' to 'max_length' bytes; with 'distinct' no text comes twice.
    TextCorpus(uint32_t seed, int min_length, int max_length, bool distinct)
        : random_(seed), min_length_(min_length), max_length_(max_length), distinct_(distinct) {}

    std::string Next() {
        for (;;) {
            std::string text = Draw();
            if (static_cast<int>(text.size()) > max_length_) {
                text.resize(static_cast<size_t>(max_length_));
            }
            if (static_cast<int>(text.size()) < min_length_) continue;
            if (distinct_ && !seen_.insert(text).second) continue;
            return text;
        }
    }

  private:
    int Pick(int n) { return static_cast<int>(random_() % static_cast<uint32_t>(n)); }
    bool Chance(int percent) { return Pick(100) < percent; }

    template <size_t N>
    const char* From(const char* const (&words)[N]) {
        return words[Pick(static_cast<int>(N))];
    }

    // Word frequencies in real texts are skewed: a few words are everywhere.
    template <size_t N>
    const char* Skewed(const char* const (&words)[N]) {
        int n = static_cast<int>(N);
        int a = Pick(n);
        int b = Pick(n);
        return words[a < b ? a : b];
    }

    std::string Number() {
        switch (Pick(4)) {
            case 0:
                return std::to_string(Pick(10));
            case 1:
                return std::to_string(Pick(1000));
            case 2:
                return std::to_string(Pick(100000));
            default:
                return std::to_string(random_() % 100000000u);
        }
    }

    std::string Identifier() {
        static const char* const STYLES[] = {"_", "", "-"};
        const char* join = STYLES[Pick(3)];
        std::string id = Skewed(NOUNS);
        for (int parts = Pick(3); parts > 0; --parts) {
            std::string word = Chance(50) ? Skewed(NOUNS) : Skewed(VERBS);
            if (*join == '\0' && !word.empty()) word[0] = static_cast<char>(word[0] - 32);
            id += join + word;
        }
        if (Chance(25)) id += std::to_string(Pick(100));
        return id;
    }

    std::string Message() {
        std::string text;
        switch (Pick(6)) {
            case 0:
                text = std::string("Could not ") + Skewed(VERBS) + " " + Skewed(NOUNS) + " '" +
                       Identifier() + "'";
                break;
            case 1:
                text = std::string("Invalid ") + Skewed(NOUNS) + " for field " + Identifier();
                break;
            case 2:
                text = std::string(Skewed(NOUNS)) + " " + Number() + " was " + Skewed(PAST) +
                       " by " + Skewed(NAMES);
                break;
            case 3:
                text = std::string("Please ") + Skewed(VERBS) + " the " + Skewed(NOUNS) +
                       " and try again.";
                break;
            case 4:
                text = std::string("Error ") + Number() + ": " + Skewed(NOUNS) + " not " +
                       Skewed(PAST);
                break;
            default:
                text = std::string(Skewed(NAMES)) + " " + Skewed(PAST) + " " + Number() + " " +
                       Skewed(NOUNS) + "s";
        }
        if (Chance(20)) text += Chance(50) ? "\n" : "%s";
        return text;
    }

    std::string Markup() {
        switch (Pick(5)) {
            case 0:
                return std::string("<div class=\"") + Identifier() + "\">";
            case 1:
                return std::string("<a href=\"/") + Skewed(NOUNS) + "/" + Number() + "\">" +
                       Skewed(VERBS) + "</a>";
            case 2:
                return std::string("<td>") + Skewed(NOUNS) + "</td><td>" + Number() + "</td>";
            case 3:
                return std::string("<input type=\"text\" name=\"") + Identifier() + "\">";
            default:
                return std::string("<span id=\"") + Identifier() + "\">" + Skewed(NAMES) +
                       "</span>";
        }
    }

    std::string Query() {
        switch (Pick(4)) {
            case 0:
                return std::string("SELECT ") + Identifier() + " FROM " + Skewed(NOUNS) +
                       "s WHERE id = " + Number();
            case 1:
                return std::string("UPDATE ") + Skewed(NOUNS) + "s SET " + Identifier() +
                       " = ? WHERE id = ?";
            case 2:
                return std::string("INSERT INTO ") + Skewed(NOUNS) + "s (" + Identifier() +
                       ") VALUES (?)";
            default:
                return std::string("DELETE FROM ") + Skewed(NOUNS) + "s WHERE " + Identifier() +
                       " < " + Number();
        }
    }

    std::string Path() {
        std::string path = Chance(50) ? "/var/www/" : "/usr/share/tarn/";
        for (int parts = 1 + Pick(3); parts > 0; --parts) path += std::string(Skewed(NOUNS)) + "/";
        path += Identifier();
        path += From(EXTENSIONS);
        return path;
    }

    std::string Draw() {
        switch (Pick(10)) {
            case 0:
            case 1:
            case 2:
                return Message();
            case 3:
            case 4:
                return Markup();
            case 5:
            case 6:
                return Query();
            case 7:
                return Path();
            default:
                return Identifier();
        }
    }

    static constexpr const char* NOUNS[] = {
        "user",     "order",     "customer", "account",  "file",    "item",       "product",
        "invoice",  "address",   "payment",  "session",  "record",  "report",     "message",
        "country",  "city",      "street",   "email",    "phone",   "name",       "date",
        "price",    "amount",    "total",    "status",   "type",    "value",      "list",
        "table",    "row",       "column",   "index",    "page",    "section",    "header",
        "footer",   "menu",      "button",   "form",     "field",   "image",      "link",
        "category", "tag",       "comment",  "post",     "article", "author",     "title",
        "body",     "config",    "setting",  "option",   "cache",   "queue",      "job",
        "task",     "event",     "log",      "error",    "warning", "request",    "response",
        "server",   "client",    "host",     "port",     "path",    "key",        "token",
        "password", "login",     "profile",  "group",    "role",    "permission", "cart",
        "shipment", "warehouse", "supplier", "discount", "coupon",  "tax",        "currency",
        "language", "template",  "document", "folder",   "archive", "backup",     "schedule",
        "calendar", "contact",   "note",     "ticket",   "project", "version",    "module",
    };
    static constexpr const char* VERBS[] = {
        "open",   "close",  "read",    "write",  "update", "delete", "create", "load",
        "save",   "send",   "receive", "find",   "check",  "verify", "parse",  "format",
        "submit", "cancel", "confirm", "select", "insert", "remove", "add",    "get",
        "set",    "list",   "show",    "hide",   "print",  "export", "import", "sync",
        "merge",  "split",  "sort",    "filter", "search", "build",  "start",  "stop",
    };
    static constexpr const char* PAST[] = {
        "opened", "closed",   "created",  "updated", "deleted", "shipped",  "paid",
        "found",  "rejected", "approved", "saved",   "sent",    "received", "cancelled",
    };
    static constexpr const char* NAMES[] = {
        "Alice", "Bob",   "Carol",   "Dave",  "Eve",     "Frank", "Grace",   "Heidi",
        "Ivan",  "Judy",  "Mallory", "Oscar", "Peggy",   "Trent", "Victor",  "Walter",
        "admin", "guest", "system",  "root",  "support", "sales", "billing", "ops",
    };
    static constexpr const char* EXTENSIONS[] = {".html", ".txt", ".log", ".json", ".csv",
                                                 ".xml",  ".tpl", ".sql", ".png",  ".css"};

    std::mt19937 random_;
    int min_length_;
    int max_length_;
    bool distinct_;
    std::unordered_set<std::string> seen_;
};

#endif
