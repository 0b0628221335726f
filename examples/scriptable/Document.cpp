// SPDX-License-Identifier: MIT
#include <tavrin/Tavrin.h>

using namespace Tavrin;

namespace {

class Document : public Bound<Document>
{
public:
    Document() : Bound("Document", true) {} // scripts may add properties

    int getPages() const { return pages; }
    Outcome<> setPages(int wanted)
    {
        if (isPrinting)
            return Failed{46};
        pages = wanted;
        return {};
    }
    void start(std::u16string_view givenTitle, std::optional<int> givenPages)
    {
        title = givenTitle;
        pages = givenPages.value_or(1);
    }
    InterfacePtr<Document> excerpt(int first, int last, Error *error)
    {
        if (first > last && error != nullptr)
            error->push(41, "the last page", nullptr, true);
        if (first > last)
            return nullptr;
        auto part = InterfacePtr<Document>::adopt(new Document);
        part->pages = last - first + 1;
        return part;
    }

    String title;
    InterfacePtr<Document> original; // a document, or null
    bool isPrinting = false;

    static constexpr Member members[] = {
        {"", method<&Document::start>, "Document\tA new one.,title:string,pages:int;1"},
        {"title", property<&Document::title>, "string\tThe title."},
        {"pages", property<&Document::getPages, &Document::setPages>.between(1, 9999), "int"},
        {"original", property<&Document::original>, "Document\tWhat this one was made from."},
        {"isPrinting", readOnly<&Document::isPrinting>, "bool"},
        {"excerpt", method<&Document::excerpt>, "Document\tSome pages.,first:int,last:int"},
    };

private:
    int pages = 1;
};

} // namespace

// The application uses such objects as a script does, and also reads them from text.
void writeLetter(Error &error);
void writeLetter(Error &error)
{
    constexpr int everyScript = 1;
    Document::addFactory(everyScript);
    LiveObject *made = nullptr;
    if (LiveObject::parseNew("Document {title: 'Letter', pages: 3}", made, everyScript) == 0) {
        const auto letter = InterfacePtr<LiveObject>::adopt(made);
        letter->put("pages", "three", LiveObject::onlyKnown, &error);
        // Data type mismatch: pages = "three". Expected: integer 1..9999
    }
    LiveObject::removeFactory("Document");
}
