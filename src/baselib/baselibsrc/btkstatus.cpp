#include "btkstatus.h"

#include <cerrno>

#include "marrows/marrows.h"

const char* MAR_OS_TYPE = "WIN32";
const char* MAR_MACHINE_TYPE = "i486_nt";

const btkStatusText btkStatusTexts[69] = {
    {0, "Internal Error (0)"},
    {1, "Success"},
    {2, "No Change"},
    {3, "End of File"},
    {4, "Internal Error (Trap)"},
    {5, "Entry Does Not Exist"},
    {6, "IO Error"},
    {7, "Entry Already Exists"},
    {8, "Access Denied"},
    {9, "Quota Exhausted"},
    {10, "Symbolic link loop"},
    {11, "Path/Name Too Long"},
    {12, "Disk Full"},
    {13, "Read-Only File System"},
    {14, "Entry Is Not a Directory"},
    {15, "Fork Failed"},
    {16, "Internal Error (Invalid Arg)"},
    {17, "Internal Error (Invalid Ptr)"},
    {18, "Too Many Processes or Open Files"},
    {19, "Too Many Open Files"},
    {20, "Out of Memory"},
    {21, "Internal Error (Bad Descriptor)"},
    {22, "Signal Issued"},
    {23, "Record Locked"},
    {24, "Dead Lock"},
    {25, "NFS File System"},
    {26, "No Lock"},
    {54, "The address is already in use"},
    {27, "Too Big File"},
    {28, "Is a Pipe"},
    {29, "Root Directory Has No Parent"},
    {30, "Not Owner"},
    {31, "Text is Busy"},
    {32, "File is Busy"},
    {33, "Directory Is Not Empty"},
    {34, "Cannot Find the Path Specified"},
    {35, "Different File Systems"},
    {36, "o/iPipeStream is already attached to pipe"},
    {37, "Pipe was not created"},
    {38, "Thread was not created"},
    {39, "Could not start a process"},
    {40, "Could not set I/O"},
    {43, "Command is unknown"},
    {54, "Address Aleady in Use"},
    {56, "Server Exited before Connection"},
    {55, "Socket Connection Timeout"},
    {52, "Not Socket"},
    {45, "Connection to remote machine for file no longer exists"},
    {46, "Server cannot continue"},
    {47, "Not implemented"},
    {48, "No connection to remote host established"},
    {49, "Unknown IO control mode passed"},
    {50, "Too large to store in buffer"},
    {53, "A stale NFS file handle exists"},
    {44, "Need to Hop to multiple remote machines"},
    {57, "Unable to decipher Command"},
    {51, "No Thread is found to cancel"},
    {58, "Can not Open file for reading"},
    {59, "Can not Open file for writting"},
    {60, "Can not Write in Random mode"},
    {61, "Can not Read in Random mode"},
    {62, "Can not Seek in Random mode"},
    {63, "Can not Get File Position in Random mode"},
    {64, "Open File (Random) operation failed"},
    {65, "No Stream resource or sream buffer deadlock"},
    {66, "Socket is not a SOCK_STREAM"},
    {67, "Winsock is not initialized"},
    {68, "Network is down"},
    {69, "Socket is not connected or reset or some other failure"},
};

btkStatus btkStatusFromErrno(int error) {
    switch (error) {
        case ENOENT: return 5;
        case EIO: return 6;
        case EEXIST: return 7;
        case EACCES:
        case EISDIR: return 8;
        case EDQUOT: return 9;
        case ELOOP: return 10;
        case ENAMETOOLONG: return 11;
        case ENOSPC: return 12;
        case EROFS: return 13;
        case ENOTDIR: return 14;
        case EINVAL: return 16;
        case EFAULT: return 17;
        case ENFILE: return 18;
        case EMFILE: return 19;
        case ENOMEM: return 20;
        case EBADF: return 21;
        case EINTR: return 22;
        case EAGAIN: return 23;
        case EDEADLK: return 24;
        case ENOLCK: return 26;
        case EFBIG: return 27;
        case ESPIPE:
        case EPIPE: return 28;
        case EPERM: return 30;
        case ETXTBSY: return 31;
        case EBUSY: return 32;
        case ENOTEMPTY: return 33;
        case EXDEV: return 35;
        case ESTALE: return 53;
        default: return kBtkStatusTrap;
    }
}

btkStatus btkStatusFromLastError() { return btkStatusFromErrno(errno); }
