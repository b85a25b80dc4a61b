// WebAssembly code that reads behind its memory, which the engine finds out by a fault. With the
// path of an addon, loads that first, behind the engine's own handlers; with "crash" besides, ends
// with a fault that is nobody's.
const [addon, crash] = process.argv.slice(2);
if (addon) process.dlopen({exports: {}}, addon);
// (module (memory 1) (func (export "f") (param i32) (result i32) local.get 0 i32.load))
const bytes = new Uint8Array([
  0, 97, 115, 109, 1, 0, 0, 0, 1, 6, 1, 96, 1, 127, 1, 127, 3, 2, 1, 0, 5, 3, 1, 0, 1, 7, 5, 1, 1,
  102, 0, 0, 10, 9, 1, 7, 0, 32, 0, 40, 2, 0, 11]);
const read = new WebAssembly.Instance(new WebAssembly.Module(bytes)).exports.f;
let caught = 0;
for (let i = 0; i < 1000; ++i) {
  try {
    read(0x7fffffff);
  } catch (error) {
    if (error instanceof WebAssembly.RuntimeError) ++caught;
  }
}
console.log(`caught ${caught}`);
if (crash) process.kill(process.pid, 'SIGSEGV');
