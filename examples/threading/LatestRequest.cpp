// Renders a preview for a slider that moves faster than a preview can be rendered: only the latest request counts.

#include "Ardo/Kiln/Threading/Asynchronizer.h"

#include <future>
#include <iostream>

int main()
{
    std::promise<void> begun;
    std::promise<void> mayFinish;
    Ardo::Kiln::Threading::Asynchronizer preview({},
                                                 "Preview"); // has its own thread; declared last, so destroyed first

    preview.Post(
        [&]
        {
            begun.set_value();
            mayFinish.get_future().wait(); // rendering is slow
            std::cout << "rendered at 10 %\n";
        });
    begun.get_future().wait();

    for (const int percent : {20, 30, 40}) // meanwhile the slider moves
    {
        preview.Post([percent] { std::cout << "rendered at " << percent << " %\n"; });
    }
    mayFinish.set_value();
    preview.Wait();
}
