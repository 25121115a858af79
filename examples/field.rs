// Reads one field of one message from Rust, through the interface that needs no record: the type of identity that an
// identity request asks for. The structs are those of velnor3gpp.h as far as they are used; `size` tells how far.
use std::ffi::{c_void, CStr};
use std::os::raw::{c_char, c_int};

#[repr(C)]
struct Node {
    size: usize,
    parent: *const Node,
    name: *const c_char,
    name_length: u32,
    index: u32,
    step: c_int,
    kind: c_int,
    width: u8,
    number: u64,
    data: *const u8,
    count: usize,
    value_name: *const c_char,
}

type Visit = extern "C" fn(*const Node, *mut c_void) -> c_int;

#[link(name = "velnor3gpp")]
extern "C" {
    fn velnor3gpp_open(session: *mut *mut c_void) -> c_int;
    fn velnor3gpp_close(session: *mut c_void);
    fn velnor3gpp_decode(s: *mut c_void, form: *const c_void, direction: c_int, octets: *const u8, n: usize) -> c_int;
    fn velnor3gpp_visit(session: *mut c_void, flags: u32, visit: Visit, arg: *mut c_void) -> c_int;
}

const NAMES: u32 = 1;
const DOWN: c_int = 2;

// Names in records are not terminated; names of values are.
extern "C" fn show(node: *const Node, _arg: *mut c_void) -> c_int {
    let node = unsafe { &*node };
    if node.name.is_null() || node.step != 0 || node.value_name.is_null() {
        return 0;
    }
    let name = unsafe { std::slice::from_raw_parts(node.name as *const u8, node.name_length as usize) };
    let value = unsafe { CStr::from_ptr(node.value_name) };
    println!("{} = {} {}", String::from_utf8_lossy(name), node.number, value.to_string_lossy());
    0
}

fn main() {
    let octets = [0x7E, 0x00, 0x5B, 0x01];
    let mut session = std::ptr::null_mut();
    unsafe {
        assert!(velnor3gpp_open(&mut session) >= 0);
        let status = velnor3gpp_decode(session, std::ptr::null(), DOWN, octets.as_ptr(), octets.len());
        println!("status {status}");
        velnor3gpp_visit(session, NAMES, show, std::ptr::null_mut());
        velnor3gpp_close(session);
    }
}
