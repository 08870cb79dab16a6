#pragma once

namespace quillory::gtk {

// Takes the real-time priority from all threads of this process, which the engine gives those that receive its
// messages. The kernel kills a process whose real-time thread works for long without a pause (200 ms where the priority
// came from rtkit or a portal), and a message of hundreds of MiB is such work. The engine starts such threads with a
// page's process.
void takeRealTimePriorityFromThreads();

}
