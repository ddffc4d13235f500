// Hands work to another thread and goes on. What that work warns of goes to a handler.

#include "Ardo/Kiln/Exception/Warning.h"
#include "Ardo/Kiln/Threading/BackgroundWorker.h"

#include <iostream>

int main()
{
    using namespace Ardo::Kiln;

    // Called on the worker's thread. CreateDefaultWarningHandler makes one that logs the text and shows it in a window.
    const auto onWarning = [](const Exception::Warning& warning)
    { std::cout << "warning: " << warning.what() << '\n'; };
    Threading::BackgroundWorker archive("Archive", onWarning);

    archive.Post([] { std::cout << "image 1 is archived\n"; });
    archive.Post([] { throw Exception::Warning("image 2 was archived before"); });
    archive.Post([] { std::cout << "image 3 is archived\n"; });

    archive.Wait(); // the destructor would not run what is still queued
}
