// SPDX-License-Identifier: MIT
#include <cstdio>

#include <tavrin/Tavrin.h>

using namespace Tavrin;

// An object of the host that scripts may hold on to.
struct Document : Refcountable
{
    String title;
};

int main()
{
    InitTerm::init();
    {
        auto document = InterfacePtr<Document>::adopt(new Document);
        document->title = "hello, world";
        const String kept = document->title; // shared: nothing is copied yet
        document->title.toUpper();           // this one writes, and gets its own

        const WeakRef<Document> handle = document; // what a script would keep
        document.reset();                          // the host closes the document
        for (int at = 0; at < kept.length(); ++at)
            std::putchar(kept.wstr()[at]);
        std::puts(handle ? ": the document is open" : ": the document is gone");
    }
    InitTerm::exit();
}
