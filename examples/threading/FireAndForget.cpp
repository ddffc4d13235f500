// Posts work to another thread and continues. Warnings of that work go to a handler.

#include "Ardo/Kiln/Exception/Warning.h"
#include "Ardo/Kiln/Threading/BackgroundWorker.h"

#include <iostream>

int main()
{
    using namespace Ardo::Kiln;

    // Called on the worker's thread. CreateDefaultWarningHandler returns one that logs and shows the text.
    const auto onWarning = [](const Exception::Warning& warning)
    { std::cout << "warning: " << warning.what() << '\n'; };
    Threading::BackgroundWorker archive("Archive", onWarning);

    archive.Post([] { std::cout << "image 1 is archived\n"; });
    archive.Post([] { throw Exception::Warning("image 2 was archived before"); });
    archive.Post([] { std::cout << "image 3 is archived\n"; });

    archive.Wait(); // the destructor does not run queued functions
}
