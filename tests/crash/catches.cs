// A managed program that lives by its run-time's handling of faults. With an argument it loads the
// library behind the run-time's own handlers.
using System;
using System.Runtime.InteropServices;

class Catches {
    [DllImport("libtmxactions.so.1")]
    static extern uint TmxAct_InterfaceVersion();

    class Box { public int Value = 1; }

    static int Read(Box box) { return box.Value; }

    static void Main(string[] arguments) {
        if (arguments.Length > 0) Console.WriteLine("version {0}", TmxAct_InterfaceVersion());
        int caught = 0;
        for (int i = 0; i < 1000; ++i) {
            try {
                Read(null);
            } catch (NullReferenceException) {
                ++caught;
            }
        }
        Console.WriteLine("caught {0}", caught);
    }
}
