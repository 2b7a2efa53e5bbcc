#pragma once
// Asked for by test libraries; nothing in it is used.
