// Keeps a preview up with a slider that moves faster than a preview can be rendered: only the latest request counts.

#include "Ardo/Kiln/Threading/Asynchronizer.h"

#include <future>
#include <iostream>

int main()
{
    std::promise<void> begun;
    std::promise<void> mayFinish;
    Ardo::Kiln::Threading::Asynchronizer preview({},
                                                 "Preview"); // with a thread of its own; the last, so the first to go

    preview.Post(
        [&]
        {
            begun.set_value();
            mayFinish.get_future().wait(); // rendering takes its time
            std::cout << "rendered at 10 %\n";
        });
    begun.get_future().wait();

    for (const int percent : {20, 30, 40}) // meanwhile the slider moves on
    {
        preview.Post([percent] { std::cout << "rendered at " << percent << " %\n"; });
    }
    mayFinish.set_value();
    preview.Wait();
}
