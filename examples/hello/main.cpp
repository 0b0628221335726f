// SPDX-License-Identifier: MIT
#include <cstdio>

#include <tavrin/Tavrin.h>

using namespace Tavrin;

// An object of the host that scripts may hold on to.
struct Document : Refcountable
{
    SimpleArray pages;
};

int main()
{
    InitTerm::init();
    {
        auto document = InterfacePtr<Document>::adopt(new Document);
        document->pages.append(100);
        const SimpleArray kept = document->pages; // shared: nothing is copied yet
        document->pages.append(101);              // this one writes, and gets its own

        const WeakRef<Document> handle = document; // what a script would keep
        document.reset();                          // the host closes the document
        std::printf("%d page kept, document %s\n", kept.length(), handle ? "open" : "gone");
    }
    InitTerm::exit();
}
