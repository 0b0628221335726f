// SPDX-License-Identifier: MIT
#include "encoders/Corpus.h"

#include <cstdint>
#include <map>
#include <random>
#include <span>
#include <utility>

namespace bench {
namespace {

constexpr const char *asciiWords[] = {
    "the ",     "function ", "returns ", "a ",      "value, ",    "if ",     "not ",
    "found: ",  "layer ",    "document", ".",       "  ",         "name = ", "\"path/to/file\"; ",
    "for each", "(index) ",  "{ ",       "} ",      "<title>",    "\n",      "42 ",
    "0x1FF1 ",  "settings ", "script ",  "is run ", "once more. "};

constexpr const char *frenchWords[] = {"élève ",  "à ",   "la ",      "forêt ",  "déjà ", "vu, ",
                                       "garçon ", "où ",  "l’été ",   "dernier", "nous ", "avons ",
                                       "mangé ",  "des ", "crêpes. ", "Noël ",   "cœur ", "naïf "};

constexpr const char *germanWords[] = {
    "Die ",     "Größe ", "der ",  "Straße ", "für ",    "Fußgänger ", "wurde ",  "im ",   "März ",
    "geändert", ". ",     "Über ", "hundert", " Leute ", "kamen ",     "schöne ", "„so“ ", "ist "};

constexpr const char *polishWords[] = {
    "Zażółć ", "gęślą ", "jaźń, ",   "a ",       "źródło ", "rzeki ", "jest ",  "w ",
    "górach ", "więc ",  "ścieżka ", "wiedzie ", "przez ",  "łąkę. ", "Dzień ", "dobry "};

constexpr const char *greekWords[] = {"Η ",    "γλώσσα ", "των ",   "αρχαίων ", "είναι ",
                                      "ένας ", "δρόμος ", "προς ",  "την ",     "πόλη, ",
                                      "και ",  "ο ",      "ήλιος ", "λάμπει. "};

constexpr const char *russianWords[] = {
    "Утром ", "мы ",    "пошли ", "в ",       "лес, ",  "где ", "было ",    "много ", "грибов ",
    "и ",     "ягод. ", "Потом ", "начался ", "дождь ", "— ",   "сильный ", "и ",     "долгий "};

constexpr const char *latinWords[] = {
    "élève ",   "à ",    "la ",     "forêt ",    "déjà ",  "vu, ",        "garçon ", "où ",
    "Größe ",   "der ",  "Straße ", "für ",      "wurde ", "geändert. ",  "niño ",   "año ",
    "español ", "está ", "the ",    "document ", "of ",    "smørrebrød ", "på ",     "ö "};

constexpr const char *asianWords[] = {
    "今天", "天气",     "很好，",       "我们",    "一起去",  "公园。",     "学习",      "语言",
    "需要", "时间。",   "東京は",       "日本の",  "首都で",  "ある。",     "カメラを",  "持って",
    "山に", "登った。", "안녕하세요, ", "오늘은 ", "날씨가 ", "좋습니다. ", "서울에서 ", "책을 "};

constexpr const char *emojiWords[] = {"😀",  "🎉 ",     "👍",   "🚀 ",          "❤️",   "ok ",
                                      "😂😂", "great ", "🌍",   "🍕 ",          "see you ", "😍",
                                      "🐈",  "no ",    "🔥🔥 ", "👩‍💻", "at 9 ",    "🙏"};

std::vector<unsigned short> unitsOf(const std::string &utf8)
{
    std::vector<unsigned short> units;
    for (std::size_t position = 0; position < utf8.size();) {
        const auto lead = static_cast<unsigned char>(utf8[position]);
        const int length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
        std::uint32_t value = length == 1 ? lead : lead & (0x7Fu >> length);
        for (int index = 1; index < length; ++index)
            value = value << 6 | (static_cast<unsigned char>(utf8[position + index]) & 0x3Fu);
        position += static_cast<std::size_t>(length);
        if (value >= 0x10000) {
            value -= 0x10000;
            units.push_back(static_cast<unsigned short>(0xD800 + (value >> 10)));
            value = 0xDC00 + (value & 0x3FF);
        }
        units.push_back(static_cast<unsigned short>(value));
    }
    return units;
}

Corpus makeCorpus(const char *name, std::span<const std::span<const char *const>> languages,
                  int bytes)
{
    constexpr int wordsPerSentence = 12;
    std::mt19937 random(20);
    std::string text;
    while (text.size() < static_cast<std::size_t>(bytes)) {
        const auto words = languages[random() % languages.size()];
        for (int count = 0; count < wordsPerSentence; ++count) {
            const std::string word = words[random() % words.size()];
            if (text.size() + word.size() > static_cast<std::size_t>(bytes))
                text.append(static_cast<std::size_t>(bytes) - text.size(), ' ');
            else
                text += word;
        }
    }
    text.resize(static_cast<std::size_t>(bytes));
    return {name, text, unitsOf(text)};
}

const Corpus &cached(const char *name, std::vector<std::span<const char *const>> languages,
                     int bytes)
{
    static std::map<std::pair<const char *, int>, Corpus> corpora;
    auto found = corpora.find({name, bytes});
    if (found == corpora.end())
        found = corpora.emplace(std::pair(name, bytes), makeCorpus(name, languages, bytes)).first;
    return found->second;
}

} // namespace

const Corpus &asciiCorpus(int bytes)
{
    return cached("ascii", {asciiWords}, bytes);
}

const Corpus &europeanCorpus(int bytes)
{
    return cached("european", {frenchWords, germanWords, polishWords, greekWords, russianWords},
                  bytes);
}

const Corpus &latinCorpus(int bytes)
{
    return cached("latin", {latinWords}, bytes);
}

const Corpus &asianCorpus(int bytes)
{
    return cached("asian", {asianWords}, bytes);
}

const Corpus &emojiCorpus(int bytes)
{
    return cached("emoji", {emojiWords}, bytes);
}

} // namespace bench
